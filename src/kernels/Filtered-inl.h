// Included once for every vector target (see Highway's foreach_target.h); a helper of the fusing kernels.
#if defined(PANSHARP_FILTERED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PANSHARP_FILTERED_INL_H
#undef PANSHARP_FILTERED_INL_H
#else
#define PANSHARP_FILTERED_INL_H
#endif

#include "kernels/FixedPoint.h"
#include "kernels/FusionRow.h"
#include "kernels/Planar-inl.h"

#include <bit>
#include <concepts>
#include <cstring>

/// Floating-point filters, a term of computational geometry (S. Fortune, C. Van Wyk, Efficient exact
/// arithmetic for computational geometry, 1993; J. Shewchuk, Adaptive precision floating-point arithmetic and
/// fast robust geometric predicates, 1997). A result is computed fast, with a proven bound on its error. If
/// the error could change the sample that is stored, the result is uncertain and is computed again by the
/// definition.
HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// The type that filters compute in: it holds sums of samples with bits to spare.
template <class T>
using RealOf = std::conditional_t<sizeof(T) == 1, float, double>;

/// The pixels of one such vector fill one vector of floats or, for 16-bit samples, two vectors of doubles.
using WholeNumbers = hn::ScalableTag<std::int32_t>;

/// The lanes from `first` on as real numbers. `first` is 0, or the first lane of the second vector.
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

/// The lower halves of the real numbers in two vectors of doubles.
HWY_INLINE auto JoinLower(hn::Vec<hn::ScalableTag<double>> first, hn::Vec<hn::ScalableTag<double>> second) {
    const WholeNumbers d;
#if HWY_TARGET == HWY_SCALAR // never run
    (void)first, (void)second;
    return hn::Zero(d);
#else
    return hn::ConcatEven(d, hn::BitCast(d, second), hn::BitCast(d, first));
#endif
}

/// Results in steps of 1 / fixedOne, limited to the range of samples T; see FixedPoint.h. `sumOf` is called
/// with lane 0 and with the first lane of the second vector. It returns fixedOne times the results plus
/// FixedOffset.
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

/// Raises `fractions` to those of the results where they are greater. All of them are raised by a bit `unit`.
template <class V>
HWY_INLINE void AddFractions(V results, V& fractions, std::int32_t unit = 0) {
    fractions = hn::Max(fractions, hn::And(results, hn::Set(WholeNumbers(), unit + fixedOne - 1)));
}

/// Stores the whole parts of the results and adds their fractions.
template <class T, class V>
HWY_INLINE void StoreResults(V results, T* samples, V& fractions) {
    const hn::Rebind<T, WholeNumbers> narrow;
    AddFractions(results, fractions);
    hn::StoreU(hn::DemoteTo(narrow, hn::ShiftRight<fixedBits>(results)), narrow, samples);
}

template <class V>
HWY_INLINE auto IsUncertain(V fractions, int error, std::int32_t unit = 0) {
    return hn::Gt(fractions, hn::Set(WholeNumbers(), unit + MostCertainFraction(error)));
}

/// The weighted sum of the bands of some pixels, rounded like the definition.
template <class T>
HWY_INLINE hn::Vec<hn::ScalableTag<double>> WeightedSum(const T* planes, const double* weights,
                                                        std::uint32_t bands) {
    const hn::ScalableTag<double> d;
    auto s = hn::Zero(d);
    for (std::uint32_t band = 0; band < bands; ++band)
        s = hn::Add(s, hn::Mul(LoadReal(d, planes + band * blockPixels), hn::Set(d, weights[band])));
    return s;
}

/// The same with fewer roundings if the processor has fused multiply-add.
template <class D, class T>
HWY_INLINE hn::Vec<D> FilteredSum(D d, const T* planes, const hn::TFromD<D>* weights, std::uint32_t bands) {
    auto s = hn::Zero(d);
    for (std::uint32_t band = 0; band < bands; ++band)
        s = hn::MulAdd(LoadReal(d, planes + band * blockPixels), hn::Set(d, weights[band]), s);
    return s;
}

/// The pixels of a block whose filtered result is uncertain.
struct Uncertain {
    std::uint64_t bits[blockPixels / 64] = {}; ///< one per pixel

    [[nodiscard]] std::size_t Count() const {
        std::size_t count = 0;
        for (const std::uint64_t word : bits)
            count += static_cast<std::size_t>(std::popcount(word));
        return count;
    }
};

/// If a block has more of them, it is faster to compute all of it by the definition.
inline constexpr std::size_t mostUncertain = 24;

/// Adds the uncertain lanes of a vector of pixels. Called once per vector. It has no branch, since some
/// images have several uncertain pixels in every block, and the processor would often predict the branch
/// wrongly.
template <class D, class M>
HWY_INLINE void AddUncertain(D d, M isUncertain, std::size_t firstPixel, Uncertain& uncertain) {
    constexpr std::size_t most = MaxLanes(d);
    using Lanes = std::conditional_t<most <= 8, std::uint8_t,
                                     std::conditional_t<most <= 16, std::uint16_t, std::uint64_t>>;
    std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(d, isUncertain, bytes);
    Lanes lanes = 0; // a longer word would wait for the store
    std::memcpy(&lanes, bytes, sizeof lanes);
    uncertain.bits[firstPixel / 64] |= std::uint64_t{lanes} << firstPixel % 64;
}

/// What a method provides to be fused with a filter. Planes lie blockPixels apart, one per multispectral
/// band. The output bands replace the first planes.
template <class F, class T>
concept MethodFilter = requires(const F& filter, T* planes, const T* pan, std::size_t pixels,
                                Uncertain& uncertain) {
    { filter.bands } -> std::convertible_to<const BandWeights&>;
    { filter.isUsable } -> std::convertible_to<bool>; // true if the filter's bound holds for these weights
    // The definition in vectors.
    { filter.Exact(planes, pan, pixels) } -> std::same_as<void>;
    // Fuses a block by the filter. False if much of it is uncertain.
    { filter.Filtered(planes, pan, uncertain) } -> std::same_as<bool>;
};

/// The number of planes of a fused block.
inline constexpr std::uint32_t mostPlanes = mostBands + 1;

/// Splits the pixels of a block into planes.
template <class T>
HWY_INLINE void TakeApart(const FusionRows<T>& block, const BandWeights& bands, T* planes) {
    const std::uint32_t interleaved = block.InterleavedBands(bands);
    Deinterleave(block.ms, interleaved, planes);
    if (block.additional) std::copy_n(block.additional, blockPixels, planes + interleaved * blockPixels);
}

/// Fuses the first `count` pixels of a block by the definition. Reads and writes the whole block.
template <class T, MethodFilter<T> Filter>
HWY_ATTR void FuseExactly(const FusionRows<T>& block, T* out, std::size_t count, const Filter& filter) {
    HWY_ALIGN T planes[mostPlanes * blockPixels];
    TakeApart(block, filter.bands, planes);
    filter.Exact(planes, block.pan, count);
    Interleave(planes, filter.bands.outputBands, out);
}

/// Collects the uncertain pixels of a row and fuses them again by the definition, many side by side. The
/// numbers of bands are those of the row; they are parameters since some callers know them as constants.
template <class T, MethodFilter<T> Filter>
class Resolver {
public:
    Resolver(const FusionRows<T>& ofRows, T* toOut, std::size_t pixels, const Filter& byFilter)
        : rows(ofRows), out(toOut), end(pixels), filter(byFilter) {}

    /// Adds those of a block of the row, up to blockPixels. Its fused pixels must be in `out` before the next
    /// call; those of the last block are copied there later. A bit stands for pixelsPerBit pixels.
    HWY_INLINE void Add(const Uncertain& uncertain, std::size_t firstPixel, std::uint32_t interleaved,
                        std::uint32_t outputBands, std::size_t pixelsPerBit = 1) {
        if (count + uncertain.Count() * pixelsPerBit > blockPixels) Finish(outputBands);
        for (std::size_t first = 0; first < blockPixels; first += 64)
            for (std::uint64_t bits = uncertain.bits[first / 64]; bits != 0; bits &= bits - 1) {
                const std::size_t bit = first + static_cast<std::size_t>(std::countr_zero(bits));
                for (std::size_t p = firstPixel + bit * pixelsPerBit, i = 0; i < pixelsPerBit; ++i, ++p) {
                    if (p >= end) return;
                    std::memcpy(ms + count * interleaved, rows.ms + p * interleaved, interleaved * sizeof(T));
                    pan[count] = rows.pan[p];
                    if (rows.additional) additional[count] = rows.additional[p];
                    pixelAt[count++] = p;
                }
            }
    }
    /// Fuses those that were added.
    HWY_NOINLINE HWY_ATTR void Finish(std::uint32_t outputBands) {
        if (count == 0) return;
        FuseExactly({ms, pan, rows.additional ? additional : nullptr}, fused, count, filter);
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(out + pixelAt[i] * outputBands, fused + i * outputBands, outputBands * sizeof(T));
        count = 0;
    }

private:
    const FusionRows<T> rows;
    T* const out;
    const std::size_t end;
    const Filter& filter;
    std::size_t count = 0;
    std::size_t pixelAt[blockPixels] = {};
    HWY_ALIGN T ms[blockPixels * mostBands];
    HWY_ALIGN T fused[blockPixels * mostBands];
    HWY_ALIGN T pan[blockPixels];
    HWY_ALIGN T additional[blockPixels];
};

/// Fuses a row in blocks of planes.
template <class T, MethodFilter<T> Filter>
HWY_ATTR void FusePlanar(const FusionRows<T>& rows, T* out, std::size_t pixels, const Filter& filter) {
    const BandWeights& bands = filter.bands;
    const std::uint32_t interleaved = rows.InterleavedBands(bands);
    const bool isApart = rows.additional != nullptr;
    Resolver<T, Filter> resolver(rows, out, pixels, filter);
    std::size_t p = 0;
    const auto block = [&](const std::array<const T*, 3>& inputs, T* outBlock) HWY_ATTR {
        const FusionRows<T> blockRows{inputs[0], inputs[1], isApart ? inputs[2] : nullptr};
        HWY_ALIGN T planes[mostPlanes * blockPixels];
        Uncertain uncertain;
        if (filter.isUsable) TakeApart(blockRows, bands, planes);
        if (filter.isUsable && filter.Filtered(planes, blockRows.pan, uncertain)) {
            Interleave(planes, bands.outputBands, outBlock);
            resolver.Add(uncertain, p, interleaved, bands.outputBands);
        } else {
            FuseExactly(blockRows, outBlock, blockPixels, filter);
        }
        p += blockPixels;
    };
    InBlocks<T>({{rows.ms, interleaved}, {rows.pan, 1}, {rows.additional, isApart ? 1u : 0u}}, out,
                bands.outputBands, pixels, block);
    resolver.Finish(bands.outputBands);
}

/// Whether a row has too many bands for vectors, so that the scalar definition fuses it.
template <class T>
HWY_INLINE bool HasManyBands(const FusionRows<T>& rows, const BandWeights& bands) {
    return rows.InterleavedBands(bands) > mostBands || bands.outputBands > mostBands;
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#endif // PANSHARP_FILTERED_INL_H
