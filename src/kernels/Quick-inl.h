// Included once for every vector target (see Highway's foreach_target.h); a helper of the fusing kernels.
#if defined(PANSHARP_QUICK_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PANSHARP_QUICK_INL_H
#undef PANSHARP_QUICK_INL_H
#else
#define PANSHARP_QUICK_INL_H
#endif

#include "kernels/FixedPoint.h"
#include "kernels/FusionRow.h"
#include "kernels/Planes-inl.h"

#include <cstring>

/// Quick ways of fusing that prove which of their results are right, and leave the others to the definition.
HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// What quick ways work in: holds sums of samples with bits to spare.
template <class T>
using RealOf = std::conditional_t<sizeof(T) == 1, float, double>;

/// 8-bit results of a quick way in float; see FixedPoint.h. Limits have fractions in no doubt.
struct FixedResults {
    static constexpr int bits = fixedBits;
    static constexpr float unit = fixedUnit<float>;

    /// Of results up to 256, an error of 2^-bits * `error` before they are made whole.
    explicit FixedResults(int error)
        : offset(FixedOffset<float>(error)), mostCertain(MostCertainFraction(error)) {}

    /// The result a * b, b being 2^bits times as much, from bit `bits` on; bits above its 8 are not 0.
    template <class D>
    HWY_INLINE hn::Vec<hn::Rebind<std::int32_t, D>> Product(D d, hn::Vec<D> a, hn::Vec<D> b) const {
        const auto most = hn::Set(d, unit + 255.5F * (1 << bits));
        const auto sum = hn::MulAdd(a, b, hn::Set(d, offset));
        return hn::BitCast(hn::Rebind<std::int32_t, D>(), hn::Min(hn::Max(sum, hn::Set(d, unit)), most));
    }

    /// The same without limits, for JoinFixed; it is not negative.
    template <class D>
    HWY_INLINE hn::Vec<hn::Rebind<std::int32_t, D>> Sum(D d, hn::Vec<D> a, hn::Vec<D> b) const {
        return hn::BitCast(hn::Rebind<std::int32_t, D>(), hn::MulAdd(a, b, hn::Set(d, offset)));
    }

    /// Of floats this bit is 0 just below the unit, where a result of 0 lies that is in no doubt.
    static constexpr std::int32_t atLeastUnit = 1 << 24;

    /// GreaterFraction and InDoubt of sums.
    template <class D32, class V>
    HWY_INLINE static V GreaterFractionOfSums(D32 d32, V fractions, V sums) {
        return hn::Max(fractions, hn::And(sums, hn::Set(d32, atLeastUnit + (1 << bits) - 1)));
    }
    template <class D32, class V>
    HWY_INLINE auto SumsInDoubt(D32 d32, V fractions) const {
        return hn::RebindMask(hn::Rebind<float, D32>(),
                              hn::Gt(fractions, hn::Set(d32, atLeastUnit + mostCertain)));
    }

    /// Results as numbers.
    template <class D32, class V>
    HWY_INLINE static V Whole(D32 d32, V results) {
        const hn::Rebind<float, D32> d;
        return hn::ShiftRight<bits>(hn::Sub(results, hn::BitCast(d32, hn::Set(d, unit))));
    }

    /// The greater of `fractions`, of a pixel's other bands, and those of results.
    template <class D32, class V>
    HWY_INLINE static V GreaterFraction(D32 d32, V fractions, V results) {
        return hn::Max(fractions, hn::And(results, hn::Set(d32, (1 << bits) - 1)));
    }

    template <class D32, class V>
    HWY_INLINE auto InDoubt(D32 d32, V fractions) const {
        return hn::RebindMask(hn::Rebind<float, D32>(), hn::Gt(fractions, hn::Set(d32, mostCertain)));
    }

    float offset;             ///< added to every result
    std::int32_t mostCertain; ///< fraction
};

/// The sum and one more product: in double with the roundings of the definition, in float, where results are
/// proven, with one or two.
template <class D>
HWY_INLINE hn::Vec<D> AddProduct(D /*d*/, hn::Vec<D> sum, hn::Vec<D> a, hn::Vec<D> b) {
    if constexpr (sizeof(hn::TFromD<D>) == 4)
        return hn::MulAdd(a, b, sum);
    else
        return hn::Add(sum, hn::Mul(a, b));
}

/// The weighted sum of the bands of some pixels, in the order of the definition.
template <class D, class T>
HWY_INLINE hn::Vec<D> WeightedSum(D d, const T* planes, const hn::TFromD<D>* weights, std::uint32_t bands) {
    auto s = hn::Zero(d);
    for (std::uint32_t band = 0; band < bands; ++band)
        s = AddProduct(d, s, LoadReal(d, planes + band * blockPixels), hn::Set(d, weights[band]));
    return s;
}

/// Pixels of a block, found by a quick way, whose result is in doubt: the definition decides about them.
struct Doubts {
    std::uint8_t pixels[blockPixels] = {};
    std::size_t count = 0;
};

/// With more doubts than this in a block, the long way for all of it takes less time.
inline constexpr std::size_t mostDoubts = 24;

template <class D, class M>
HWY_INLINE void AddDoubts(D d, M doubt, std::size_t firstPixel, Doubts& doubts) {
    if (HWY_LIKELY(hn::AllFalse(d, doubt))) return;
    alignas(8) std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(d, doubt, bytes);
    std::uint64_t bits = 0;
    std::memcpy(&bits, bytes, sizeof bits);
    for (std::size_t lane = 0; lane < hn::Lanes(d); ++lane)
        if (bits >> lane & 1) doubts.pixels[doubts.count++] = static_cast<std::uint8_t>(firstPixel + lane);
}

/// Fuses the pixels of a block that are in doubt once more, by the definition, and puts them in their places.
template <class T, class Way>
HWY_ATTR void Decide(const T* ms, const T* pan, T* out, const BandWeights& bands, const Doubts& doubts,
                     const Way& way) {
    if (doubts.count == 0) return;
    HWY_ALIGN T planes[mostBands * blockPixels] = {};
    HWY_ALIGN T panOfPlanes[blockPixels] = {};
    for (std::size_t i = 0; i < doubts.count; ++i) {
        const std::size_t p = doubts.pixels[i];
        for (std::uint32_t band = 0; band < bands.msBands; ++band)
            planes[band * blockPixels + i] = ms[p * bands.msBands + band];
        panOfPlanes[i] = pan[p];
    }
    way.Exact(planes, panOfPlanes, doubts.count);
    for (std::size_t i = 0; i < doubts.count; ++i)
        for (std::uint32_t band = 0; band < bands.outputBands; ++band)
            out[doubts.pixels[i] * bands.outputBands + band] = planes[band * blockPixels + i];
}

/// Fuses a row in blocks of planes and leaves the output bands in the first planes. `way` has
///
///     bool hasQuick;                                         whether the weights allow the quick way
///     bool Quick(T* planes, const T* pan, Doubts&) const;    false: not for these samples
///     void Exact(T* planes, const T* pan, std::size_t pixels) const;      by the definition
///
/// For at most mostBands bands.
template <class T, class Way>
HWY_ATTR void FuseBlocks(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands,
                         const Way& way) {
    const auto block = [&](const T* msBlock, const T* panBlock, T* outBlock) HWY_ATTR {
        HWY_ALIGN T planes[mostBands * blockPixels];
        Doubts doubts;
        Deinterleave(msBlock, bands.msBands, planes);
        if (!way.hasQuick) {
            way.Exact(planes, panBlock, blockPixels);
        } else if (!way.Quick(planes, panBlock, doubts)) {
            doubts.count = 0;
            Deinterleave(msBlock, bands.msBands, planes); // which the quick way has written to
            way.Exact(planes, panBlock, blockPixels);
        }
        Interleave(planes, bands.outputBands, outBlock);
        Decide(msBlock, panBlock, outBlock, bands, doubts, way);
    };
    InBlocks(ms, bands.msBands, pan, 1, out, bands.outputBands, pixels, block);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#endif // PANSHARP_QUICK_INL_H
