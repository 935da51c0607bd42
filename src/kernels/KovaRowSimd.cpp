// KOVA in vectors of whatever width the processor has; the same bytes as the scalar definition.
#include "kernels/KovaRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/KovaRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

// Every output band of a pixel is round(clamp(ms + d)), which is clamp(ms + r) for the whole number
// r = floor(d + 1/2), whenever the two roundings on the way cannot carry ms + d across a half:
//  - |d| < 2^17, so that both are at most 2^-36, and
//  - d lies farther than 2^-30 from a half, or exactly on one, where nothing is rounded.
// Where a pixel is not safe, its block takes the long way.
constexpr double mostShift = 131072.0;
constexpr double nearHalf = 1.0 / (1 << 30);

/// Shifts of a block of pixels; false when some pixel is not safe. `differences` gets d, for the long way.
template <class T>
HWY_ATTR bool BlockShifts(const T* HWY_RESTRICT planes, const T* HWY_RESTRICT pan, const BandWeights& bands,
                          double* HWY_RESTRICT differences, std::int32_t* HWY_RESTRICT shifts) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const auto half = hn::Set(d, 0.5);
    const auto one = hn::Set(d, 1.0);
    const auto close = hn::Set(d, nearHalf);
    auto allSafe = hn::Eq(half, half);
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
        const auto s = WeightedSum(d, planes + i, bands.weights, bands.msBands);
        const auto difference = hn::Sub(LoadAsDouble(d, pan + i), s);
        hn::Store(difference, d, differences + i);
        const auto shift = hn::Floor(hn::Add(difference, half));
        const auto above = hn::Sub(difference, hn::Sub(shift, half)); // in [0, 1] but for rounding
        const auto far = hn::And(hn::Gt(above, close), hn::Lt(above, hn::Sub(one, close)));
        const auto safe = hn::And(hn::Or(far, hn::Eq(above, hn::Zero(d))),
                                  hn::Lt(hn::Abs(difference), hn::Set(d, mostShift)));
        allSafe = hn::And(allSafe, safe);
        // Shifts that are not safe are not used, but must not overflow the conversion.
        hn::Store(hn::DemoteTo(d32, hn::IfThenElseZero(safe, shift)), d32, shifts + i);
    }
    return hn::AllTrue(d, allSafe);
}

/// clamp(ms + shift) for a plane of 8-bit samples.
HWY_ATTR void ShiftPlane(unsigned char* plane, const std::int32_t* HWY_RESTRICT shifts) {
    const hn::ScalableTag<std::int32_t> d32;
    const hn::Rebind<std::int16_t, decltype(d32)> d16;
    const hn::Rebind<std::uint8_t, decltype(d32)> d8;
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
        const auto sum = hn::Add(hn::PromoteTo(d32, hn::LoadU(d8, plane + i)), hn::Load(d32, shifts + i));
        hn::StoreU(hn::DemoteTo(d8, hn::DemoteTo(d16, sum)), d8, plane + i);
    }
}

HWY_ATTR void ShiftPlane(unsigned short* plane, const std::int32_t* HWY_RESTRICT shifts) {
    const hn::ScalableTag<std::int32_t> d32;
    const hn::Rebind<std::uint16_t, decltype(d32)> d16;
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
        const auto sum = hn::Add(hn::PromoteTo(d32, hn::LoadU(d16, plane + i)), hn::Load(d32, shifts + i));
        hn::StoreU(hn::DemoteTo(d16, sum), d16, plane + i);
    }
}

/// round(clamp(ms + d)) in double, for any d.
template <class T>
HWY_ATTR void AddDifferences(T* plane, const double* HWY_RESTRICT differences) {
    const hn::ScalableTag<double> d;
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
        const auto x = hn::Add(LoadAsDouble(d, plane + i), hn::Load(d, differences + i));
        const auto positive = hn::IfThenElseZero(hn::Ge(x, hn::Zero(d)), x); // not-a-number stores 0
        const auto clamped = hn::Min(positive, hn::Set(d, maxSample<T>));
        StoreTruncatedLanes(d, hn::Add(clamped, hn::Set(d, 0.5)), plane + i);
    }
}

template <class T>
HWY_ATTR void KovaRow(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    if (bands.msBands > mostBands) return KovaRowScalar(ms, pan, out, pixels, bands);
    ForEachBlock(ms, pan, out, pixels, bands.msBands, bands.outputBands,
                 [&](const T* msBlock, const T* panBlock, T* outBlock) HWY_ATTR {
                     HWY_ALIGN T planes[mostBands * blockPixels];
                     HWY_ALIGN double differences[blockPixels];
                     HWY_ALIGN std::int32_t shifts[blockPixels];
                     Deinterleave(msBlock, bands.msBands, planes);
                     const bool safe = BlockShifts(planes, panBlock, bands, differences, shifts);
                     for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                         T* plane = planes + c * blockPixels;
                         if (safe)
                             ShiftPlane(plane, shifts);
                         else
                             AddDifferences(plane, differences);
                     }
                     Interleave(planes, bands.outputBands, outBlock);
                 });
}

void KovaRow8(const unsigned char* ms, const unsigned char* pan, unsigned char* out, std::size_t pixels,
              const BandWeights& bands) {
    KovaRow(ms, pan, out, pixels, bands);
}

void KovaRow16(const unsigned short* ms, const unsigned short* pan, unsigned short* out, std::size_t pixels,
               const BandWeights& bands) {
    KovaRow(ms, pan, out, pixels, bands);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

HWY_EXPORT(KovaRow8);
HWY_EXPORT(KovaRow16);

template <>
FuseRow<unsigned char> KovaRowFor(SimdTarget target) {
    return target == 0 ? &KovaRowScalar<unsigned char> : HWY_DISPATCH_TABLE(KovaRow8)[DispatchIndex(target)];
}

template <>
FuseRow<unsigned short> KovaRowFor(SimdTarget target) {
    return target == 0 ? &KovaRowScalar<unsigned short>
                       : HWY_DISPATCH_TABLE(KovaRow16)[DispatchIndex(target)];
}

} // namespace kernels
#endif
