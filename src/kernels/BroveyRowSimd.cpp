// Brovey in vectors of any width, with the same bytes as the scalar definition.
#include "kernels/BroveyRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/BroveyRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Packed-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

// The filter needs weights that are 0 or of an ordinary size, and not negative. Then nothing cancels, and
// each of these operations adds a relative error of at most 2^-24 in float, 2^-53 in double: the weights, the
// products, one sum per band, the quotient and the last product. The bound is twice their total; in double
// that is still negligible.
constexpr double leastWeight = 1.0 / (1 << 20);
constexpr double mostWeight = 1024.0;

template <class T>
struct BroveyFilter {
    using Real = RealOf<T>;

    explicit BroveyFilter(const BandWeights& bandWeights)
        : bands(bandWeights), error(sizeof(T) == 1 ? static_cast<int>(bandWeights.msBands) + 4 : 1) {
        isUsable = true;
        for (std::uint32_t band = 0; band < bands.msBands; ++band) {
            const double weight = bands.weights[band];
            isUsable = isUsable && (weight == 0.0 || (weight >= leastWeight && weight <= mostWeight));
        }
        for (std::uint32_t band = 0; isUsable && band < bands.msBands; ++band)
            weights[band] = static_cast<Real>(bands.weights[band]) / fixedOne;
    }

    HWY_ATTR bool Filtered(T* planes, const T* HWY_RESTRICT pan, Uncertain& uncertain) const {
        const hn::ScalableTag<Real> d;
        const WholeNumbers d32;
        const auto offset = hn::Set(d, FixedOffset<Real>(error));
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
            const auto ratioFrom = [&](std::size_t p) HWY_ATTR {
                return Ratio(d, LoadReal(d, pan + p), FilteredSum(d, planes + p, weights, bands.msBands));
            };
            const auto ratio = ratioFrom(i);
            const auto secondRatio = sizeof(T) == 1 ? ratio : ratioFrom(i + hn::Lanes(d));
            auto fractions = hn::Zero(d32);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto results = FixedResults<T>([&](std::size_t first) HWY_ATTR {
                    return hn::MulAdd(LoadReal(d, samples + first), first == 0 ? ratio : secondRatio, offset);
                });
                StoreResults(results, samples, fractions);
            }
            AddUncertain(d32, IsUncertain(fractions, error), i, uncertain);
        }
        return uncertain.Count() <= mostUncertain;
    }

    template <class D>
    HWY_INLINE static hn::Vec<D> Ratio(D d, hn::Vec<D> pan, hn::Vec<D> s) {
        return hn::IfThenElseZero(hn::Ne(s, hn::Zero(d)), hn::Div(pan, s));
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr bool fusesQuads = true;

    template <class D, class S, class V>
    HWY_INLINE void Quads(D d, S& words, const QuadsOf<V>& ms, const QuadsOf<V>& pan, const QuadsOf<V>& sums,
                          std::size_t firstQuad, Uncertain& uncertain) const {
        auto fractions = hn::Zero(WholeNumbers());
        const auto sum = [&](std::size_t i) HWY_ATTR {
            return hn::MulAdd(ms.bands[i], Ratio(d, pan.bands[i], sums.bands[i]),
                              hn::Set(d, FixedOffset<Real>(error)));
        };
        words = JoinFixed(d, sum(0), sum(1), sum(2), sum(3), fractions);
        AddUncertainOfSums(d, fractions, error, firstQuad, uncertain);
    }

    template <class D, class S, class V, std::uint32_t Bands>
    HWY_INLINE void Packed(D d, PackedPixels<S, Bands>& packed, const SomeBands<V, Bands>& ms, const T* pan,
                           const T* additional, std::size_t firstPixel, Uncertain& uncertain) const {
        const WholeNumbers d32;
        const auto s = FilteredSumOfBands(d, ms, additional, weights, hn::Zero(d));
        const auto ratio = Ratio(d, LoadReal(d, pan), s);
        auto fractions = hn::Zero(d32);
        const auto sum = [&](std::uint32_t band) HWY_ATTR {
            return hn::MulAdd(ms.bands[std::min(band, Bands - 1)], ratio,
                              hn::Set(d, FixedOffset<Real>(error)));
        };
        for (std::uint32_t w = 0, c = 0; c < Bands; ++w, c += packedBands)
            packed.words[w] = JoinFixed(d, sum(c), sum(c + 1), sum(c + 2), sum(c + 3), fractions);
        AddUncertainOfSums(d, fractions, error, firstPixel, uncertain);
    }
#endif

    HWY_ATTR void Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
        const hn::ScalableTag<double> d;
        for (std::size_t i = 0; i < pixels; i += hn::Lanes(d)) {
            const auto s = WeightedSum(planes + i, bands.weights, bands.msBands);
            const auto ratio = Ratio(d, LoadReal(d, pan + i), s);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(LoadReal(d, samples), ratio)), samples);
            }
        }
    }

    const BandWeights& bands;
    bool isUsable = false;
    const int error;               ///< of its results, in steps of 1 / fixedOne
    Real weights[mostPlanes] = {}; ///< divided by fixedOne, so that a ratio has fixedBits more
};

template <class T>
HWY_ATTR void BroveyRow(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands) {
    if (HasManyBands(rows, bands)) return BroveyRowScalar(rows, out, pixels, bands);
    FuseFiltered(rows, out, pixels, BroveyFilter<T>(bands));
}

FuseRow<unsigned char> BroveyRow8() { return &BroveyRow<unsigned char>; }
FuseRow<unsigned short> BroveyRow16() { return &BroveyRow<unsigned short>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(BroveyRow8);
PANSHARP_EXPORT(BroveyRow16);

template <>
FuseRow<unsigned char> BroveyRowFor(SimdTarget target) {
    return ForTarget<FuseRow<unsigned char>>(target, &BroveyRowScalar, HWY_DISPATCH_TABLE(BroveyRow8));
}

template <>
FuseRow<unsigned short> BroveyRowFor(SimdTarget target) {
    return ForTarget<FuseRow<unsigned short>>(target, &BroveyRowScalar, HWY_DISPATCH_TABLE(BroveyRow16));
}

} // namespace kernels
#endif
