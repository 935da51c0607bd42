// The blends in vectors of any width, with the same bytes as the scalar definitions.
#include "kernels/BlendRow.h"
#include "kernels/FixedPoint.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <limits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/BlendRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Filtered-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

using Reals = hn::ScalableTag<double>;
using RealVector = hn::Vec<Reals>;

HWY_INLINE RealVector Map(RealVector x, RealVector gain, RealVector offset) {
    return hn::Add(hn::Mul(x, gain), offset);
}

HWY_INLINE RealVector Map(RealVector x, const LinearMap& map) {
    const Reals d;
    return Map(x, hn::Set(d, map.gain), hn::Set(d, map.offset));
}

template <class T>
HWY_INLINE void StoreRoundedLanes(RealVector x, T* samples) {
    const Reals d;
    StoreTruncatedLanes(d, hn::Add(Clamp<T>(d, x), hn::Set(d, 0.5)), samples);
}

/// Maps the samples of a vector; the first of them belongs to `band`.
HWY_INLINE RealVector Map(RealVector x, const MapsOfRow& maps, std::size_t band) {
    const Reals d;
    return Map(x, hn::LoadU(d, maps.gains.data() + band), hn::LoadU(d, maps.offsets.data() + band));
}

template <SampleBlend Blend, class T>
HWY_INLINE void BlendLanes(const T* row1, const T* row2, T* out, const BlendMaps<T>& maps, std::size_t band) {
    const Reals d;
    const auto a = LoadReal(d, row1);
    const auto b = LoadReal(d, row2);
    if constexpr (Blend == SampleBlend::PlainDifference)
        return StoreRoundedLanes(Map(hn::Sub(a, b), maps.output, band), out);
    const auto x = Map(a, maps.input1, band);
    const auto y = Map(b, maps.input2, band);
    if constexpr (Blend == SampleBlend::Difference)
        return StoreRoundedLanes(Map(hn::Sub(x, y), maps.output, band), out);
    const auto blend = Blend == SampleBlend::Sum       ? hn::Add(x, y)
                       : Blend == SampleBlend::Product ? hn::Mul(y, x)
                                                       : hn::Div(x, y);
    const auto mapped = Map(blend, maps.output, band);
    const auto atLeast0 = hn::Max(mapped, hn::Zero(d)); // NaN stays or becomes 0
    const auto isFinite = hn::Lt(atLeast0, hn::Set(d, std::numeric_limits<double>::infinity()));
    StoreTruncatedLanes(d, hn::Min(hn::IfThenElseZero(isFinite, atLeast0), hn::Set(d, maxSample<T>)), out);
}

/// The result of FilteredBlend for one vector.
template <SampleBlend Blend, class D, class T>
HWY_INLINE hn::Vec<D> FilteredLanes(D d, const T* row1, const T* row2, const FilteredBlend<T>& filtered,
                                    std::size_t band) {
    using Real = hn::TFromD<D>;
    const auto of = [&](const std::vector<Real>& bands)
                        HWY_ATTR { return hn::LoadU(d, bands.data() + band); };
    const auto a = LoadReal(d, row1);
    const auto b = LoadReal(d, row2);
    if constexpr (Blend != SampleBlend::Product && Blend != SampleBlend::Quotient)
        return hn::MulAdd(a, of(filtered.gain1), hn::MulAdd(b, of(filtered.gain2), of(filtered.offset)));
    const auto x = hn::MulAdd(a, of(filtered.gain1), of(filtered.offset1));
    const auto y = hn::MulAdd(b, of(filtered.gain2), of(filtered.offset2));
    if constexpr (Blend == SampleBlend::Product) return hn::MulAdd(x, y, of(filtered.offset));
    const auto quotient = hn::Add(hn::Div(x, y), of(filtered.offset));
    return hn::IfThenElse(hn::Eq(y, hn::Zero(d)), hn::Set(d, fixedUnit<Real>), quotient);
}

/// Blends samples in whole vectors and returns how many were blended. It stops where so many results are
/// uncertain that the definition is faster.
template <SampleBlend Blend, class T>
HWY_ATTR std::size_t FilteredBlendRow(const T* row1, const T* row2, T* out, std::size_t samples,
                                      std::uint32_t bands, const BlendMaps<T>& maps) {
    const WholeNumbers d;
    const hn::ScalableTag<RealOf<T>> dReal;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t band = 0;
    std::size_t uncertain = 0; // number of vectors with uncertain results
    std::size_t i = 0;
    for (; i + lanes <= samples && uncertain <= 32 + i / lanes / 2; i += lanes) {
        const auto results = FixedResults<T>([&](std::size_t first) HWY_ATTR {
            return FilteredLanes<Blend>(dReal, row1 + i + first, row2 + i + first, maps.filtered,
                                        band + first);
        });
        auto fractions = hn::Zero(d);
        StoreResults(results, out + i, fractions);
        if (HWY_UNLIKELY(!hn::AllFalse(d, IsUncertain(fractions, maps.filtered.error)))) {
            ++uncertain;
            for (std::size_t j = 0; j < lanes; j += hn::Lanes(Reals()))
                BlendLanes<Blend>(row1 + i + j, row2 + i + j, out + i + j, maps, band + j);
        }
        band += lanes % bands;
        if (band >= bands) band -= bands;
    }
    return i;
}

template <SampleBlend Blend, class T>
HWY_ATTR void BlendRow(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                       const BlendMaps<T>& maps) {
    constexpr std::size_t mostLanes = HWY_MAX_BYTES / sizeof(double);
    static_assert(HWY_MAX_BYTES / sizeof(std::int32_t) <= mostLanesOfMaps);
    const std::size_t samples = pixels * bands;
    const std::size_t lanes = hn::Lanes(Reals());
    std::size_t i = 0;
    if (maps.filtered.isPossible) i = FilteredBlendRow<Blend>(row1, row2, out, samples, bands, maps);
    std::size_t band = i % bands;
    for (; i + lanes <= samples; i += lanes) {
        BlendLanes<Blend>(row1 + i, row2 + i, out + i, maps, band);
        band += lanes % bands;
        if (band >= bands) band -= bands;
    }
    if (i == samples) return;
    T copies[3][mostLanes] = {};
    std::copy(row1 + i, row1 + samples, copies[0]);
    std::copy(row2 + i, row2 + samples, copies[1]);
    BlendLanes<Blend>(copies[0], copies[1], copies[2], maps, band);
    std::copy_n(copies[2], samples - i, out + i);
}

template <class T>
HWY_ATTR void Blend(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                    const BlendMaps<T>& maps) {
    switch (maps.blend) {
    case SampleBlend::Sum:
        return BlendRow<SampleBlend::Sum>(row1, row2, out, pixels, bands, maps);
    case SampleBlend::Product:
        return BlendRow<SampleBlend::Product>(row1, row2, out, pixels, bands, maps);
    case SampleBlend::Quotient:
        return BlendRow<SampleBlend::Quotient>(row1, row2, out, pixels, bands, maps);
    case SampleBlend::Difference:
        return BlendRow<SampleBlend::Difference>(row1, row2, out, pixels, bands, maps);
    case SampleBlend::PlainDifference:
        return BlendRow<SampleBlend::PlainDifference>(row1, row2, out, pixels, bands, maps);
    }
}

template <class T>
HWY_ATTR void LargestDifference(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                                const LinearMap& output) {
    if (bands > mostBands)
        return ScalarBlendKernels<T>().largestDifference(row1, row2, out, pixels, bands, output);
    const auto block = [&](const std::array<const T*, 2>& inputs, T* outBlock) HWY_ATTR {
        const hn::ScalableTag<T> d;
        const Reals dReal;
        HWY_ALIGN T planes1[mostBands * blockPixels];
        HWY_ALIGN T planes2[mostBands * blockPixels];
        HWY_ALIGN T largest[blockPixels] = {};
        Deinterleave(inputs[0], bands, planes1);
        Deinterleave(inputs[1], bands, planes2);
        for (std::size_t i = 0; i < bands * blockPixels; i += hn::Lanes(d)) {
            const auto a = hn::Load(d, planes1 + i);
            const auto b = hn::Load(d, planes2 + i);
            T* const place = largest + i % blockPixels;
            hn::Store(hn::Max(hn::Load(d, place), hn::Max(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a))), d,
                      place);
        }
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(dReal))
            StoreRoundedLanes(Map(LoadReal(dReal, largest + i), output), outBlock + i);
    };
    InBlocks<T>({{row1, bands}, {row2, bands}}, out, 1, pixels, block);
}

template <class T>
HWY_ATTR void Mask(const T* row1, const T* mask, T* out, std::size_t pixels, std::uint32_t bands,
                   std::uint32_t value, const T* color) {
    // For pixels as long as a vector, copying is as fast as selecting.
    const bool isLong = bands >= hn::Lanes(hn::ScalableTag<T>());
    if (bands > mostBands || isLong || value > std::numeric_limits<T>::max())
        return ScalarBlendKernels<T>().mask(row1, mask, out, pixels, bands, value, color);
    const auto block = [&](const std::array<const T*, 2>& inputs, T* outBlock) HWY_ATTR {
        const hn::ScalableTag<T> d;
        HWY_ALIGN T planes[mostBands * blockPixels];
        Deinterleave(inputs[0], bands, planes);
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
            const auto isMasked = hn::Eq(hn::LoadU(d, inputs[1] + i), hn::Set(d, static_cast<T>(value)));
            for (std::uint32_t c = 0; c < bands; ++c) {
                T* const place = planes + c * blockPixels + i;
                hn::Store(hn::IfThenElse(isMasked, hn::Set(d, color[c]), hn::Load(d, place)), d, place);
            }
        }
        Interleave(planes, bands, outBlock);
    };
    InBlocks<T>({{row1, bands}, {mask, 1}}, out, bands, pixels, block);
}

template <class T>
HWY_ATTR void Merge(const T* row1, std::uint32_t bands1, const T* row2, std::uint32_t bands2, T* out,
                    std::size_t pixels) {
    const std::uint32_t bands = bands1 + bands2;
    if (bands > mostBands) return ScalarBlendKernels<T>().merge(row1, bands1, row2, bands2, out, pixels);
    const auto block = [&](const std::array<const T*, 2>& inputs, T* outBlock) HWY_ATTR {
        HWY_ALIGN T planes[mostBands * blockPixels];
        Deinterleave(inputs[0], bands1, planes);
        Deinterleave(inputs[1], bands2, planes + bands1 * blockPixels);
        Interleave(planes, bands, outBlock);
    };
    InBlocks<T>({{row1, bands1}, {row2, bands2}}, out, bands, pixels, block);
}

template <class T>
HWY_ATTR void AddToFirst(T* row1, const T* row2, std::size_t pixels, const LinearMap& map1,
                         const LinearMap& map2) {
    const auto block = [&](const std::array<const T*, 2>& inputs, T* outBlock) HWY_ATTR {
        const Reals d;
        HWY_ALIGN T planes[3 * blockPixels];
        Deinterleave(inputs[0], 3, planes);
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d))
            StoreRoundedLanes(
                hn::Add(Map(LoadReal(d, inputs[1] + i), map2), Map(LoadReal(d, planes + i), map1)),
                planes + i);
        Interleave(planes, 3, outBlock);
    };
    // A block is read completely before it is written.
    InBlocks<T>({{row1, 3}, {row2, 1}}, row1, 3, pixels, block);
}

template <class T>
BlendKernels<T> Kernels() {
    return {.samples = &Blend<T>,
            .largestDifference = &LargestDifference<T>,
            .mask = &Mask<T>,
            .merge = &Merge<T>,
            .addToFirst = &AddToFirst<T>};
}

BlendKernels<unsigned char> Kernels8() { return Kernels<unsigned char>(); }
BlendKernels<unsigned short> Kernels16() { return Kernels<unsigned short>(); }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Kernels8);
PANSHARP_EXPORT(Kernels16);

template <>
BlendKernels<unsigned char> BlendKernelsFor(SimdTarget target) {
    return ForTarget(target, ScalarBlendKernels<unsigned char>(), HWY_DISPATCH_TABLE(Kernels8));
}

template <>
BlendKernels<unsigned short> BlendKernelsFor(SimdTarget target) {
    return ForTarget(target, ScalarBlendKernels<unsigned short>(), HWY_DISPATCH_TABLE(Kernels16));
}

} // namespace kernels
#endif
