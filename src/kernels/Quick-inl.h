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

#include <bit>
#include <cstring>

/// Quick ways of fusing that prove which of their results are right, and leave the others to the definition.
HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// What quick ways work in: holds sums of samples with bits to spare.
template <class T>
using RealOf = std::conditional_t<sizeof(T) == 1, float, double>;

/// As many pixels as a vector of these has lanes are one vector of floats or, of 16-bit samples, two of
/// doubles.
using WholeNumbers = hn::ScalableTag<std::int32_t>;

/// The real numbers from lane `first` on, 0 or that of the second vector.
template <class T, class V>
HWY_INLINE auto ToReal(V whole, [[maybe_unused]] std::size_t first) {
    const hn::ScalableTag<RealOf<T>> d;
    if constexpr (sizeof(T) == 1) {
        return hn::ConvertTo(d, whole);
    } else {
#if HWY_TARGET == HWY_SCALAR // never run
        return hn::Zero(d);
#else
        const hn::Half<WholeNumbers> half;
        return hn::PromoteTo(d, first == 0 ? hn::LowerHalf(half, whole) : hn::UpperHalf(half, whole));
#endif
    }
}

/// The lower halves of the real numbers of two vectors of doubles.
HWY_INLINE auto JoinLower(hn::Vec<hn::ScalableTag<double>> first, hn::Vec<hn::ScalableTag<double>> second) {
    const WholeNumbers d;
#if HWY_TARGET == HWY_SCALAR // never run
    (void)first, (void)second;
    return hn::Zero(d);
#else
    return hn::ConcatEven(d, hn::BitCast(d, second), hn::BitCast(d, first));
#endif
}

/// Results in steps of 1 / fixedOne, within the range of samples T; see FixedPoint.h. `sumOf`, called for
/// lanes from 0 and from that of the second vector on, gives fixedOne times the results and FixedOffset.
template <class T, class Real = RealOf<T>, class SumOf = void>
HWY_INLINE auto FixedResults(const SumOf& sumOf) {
    const hn::ScalableTag<Real> d;
    const WholeNumbers d32;
    const auto unit = hn::Set(d, fixedUnit<Real>);
    const auto most = hn::Set(d, fixedMost<T, Real>);
    const auto limited = [&](std::size_t first)
                             HWY_ATTR { return hn::Min(hn::Max(sumOf(first), unit), most); };
    if constexpr (sizeof(Real) == 4)
        return hn::Sub(hn::BitCast(d32, limited(0)), hn::BitCast(d32, unit));
    else
        return JoinLower(limited(0), limited(hn::Lanes(d)));
}

/// `fractions` becomes the greater of it and those of results, of which all have a bit `unit` more.
template <class V>
HWY_INLINE void AddFractions(V results, V& fractions, std::int32_t unit = 0) {
    fractions = hn::Max(fractions, hn::And(results, hn::Set(WholeNumbers(), unit + fixedOne - 1)));
}

/// Stores the whole parts of results and adds their fractions.
template <class T, class V>
HWY_INLINE void StoreResults(V results, T* samples, V& fractions) {
    const hn::Rebind<T, WholeNumbers> narrow;
    AddFractions(results, fractions);
    hn::StoreU(hn::DemoteTo(narrow, hn::ShiftRight<fixedBits>(results)), narrow, samples);
}

template <class V>
HWY_INLINE auto InDoubt(V fractions, int error, std::int32_t unit = 0) {
    return hn::Gt(fractions, hn::Set(WholeNumbers(), unit + MostCertainFraction(error)));
}

/// The weighted sum of the bands of some pixels, with the roundings of the definition.
template <class T>
HWY_INLINE hn::Vec<hn::ScalableTag<double>> WeightedSum(const T* planes, const double* weights,
                                                        std::uint32_t bands) {
    const hn::ScalableTag<double> d;
    auto s = hn::Zero(d);
    for (std::uint32_t band = 0; band < bands; ++band)
        s = hn::Add(s, hn::Mul(LoadReal(d, planes + band * blockPixels), hn::Set(d, weights[band])));
    return s;
}

/// With fewer roundings where the processor has them.
template <class D, class T>
HWY_INLINE hn::Vec<D> QuickSum(D d, const T* planes, const hn::TFromD<D>* weights, std::uint32_t bands) {
    auto s = hn::Zero(d);
    for (std::uint32_t band = 0; band < bands; ++band)
        s = hn::MulAdd(LoadReal(d, planes + band * blockPixels), hn::Set(d, weights[band]), s);
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
    for (; bits != 0; bits &= bits - 1)
        doubts.pixels[doubts.count++] =
            static_cast<std::uint8_t>(firstPixel + static_cast<unsigned>(std::countr_zero(bits)));
}

/// Fuses the pixels of a block that are in doubt once more, by the definition, and puts them in their places.
template <class T, class Way>
HWY_ATTR void Decide(const T* ms, const T* pan, T* out, const BandWeights& bands, const Doubts& doubts,
                     const Way& way) {
    if (doubts.count == 0) return;
    HWY_ALIGN T planes[mostBands * blockPixels];
    HWY_ALIGN T panOfPlanes[blockPixels];
    constexpr std::size_t lanes = HWY_MAX_BYTES / sizeof(double); // are read and written with the last pixel
    const std::size_t end = std::min(blockPixels, doubts.count + lanes);
    for (std::size_t i = 0; i < end; ++i) {
        const std::size_t p = doubts.pixels[std::min(i, doubts.count - 1)];
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
