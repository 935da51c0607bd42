// Injection in vectors of any width, with the same bytes as the scalar definition.
#include "kernels/InjectionRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>
#include <cmath>
#include <limits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/InjectionRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Packed-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

// The filter needs numbers that are 0 or of an ordinary size, and not negative; then nothing cancels except
// pan and the intensity. With t = limit * q it computes g = min(gain + ratio gain / limit * t, t). Without a
// limit it does the same with a limit of 1, but without the minimum.
//
// Errors are in units u of the type, 2^-24 or 2^-53. The intensity has a relative error e, which is bands + 2
// for weights, products and sums, or 0 if all weights are whole numbers. t errs by e or the rounding of the
// floor, plus 3 for limit, quotient and product. g errs by 3 more, for its coefficients, product and sum. The
// difference that it multiplies and their product add 1 each. Together that is 9 + e, relative to the change
// of a sample, and the change is less than the range + 1 wherever the result may be uncertain. The error of
// the intensity itself is at most e times the range + 1 times W, the sum of the weights. Multiplied by g this
// gives a share of gain * W, plus the ratio gain, since q is at most a sample's share of the intensity. The
// definition errs as much in double.
template <class T>
struct InjectionFilter {
    using Real = RealOf<T>;
    static constexpr double least = 1.0 / (1 << 20);
    static constexpr double most = 1024.0;
    static constexpr double mostError = fixedOne / 64.0; ///< beyond it, too many pixels are uncertain

    explicit InjectionFilter(const BandWeights& bandWeights)
        : bands(bandWeights), how(*bandWeights.injection),
          hasLimit(how.limit != std::numeric_limits<double>::infinity()) {
        if (!(how.floor == 0.0 || (how.floor >= least && how.floor <= 1.0 / least)) ||
            (hasLimit && !(how.limit >= least && how.limit <= most)))
            return;
        double weightSum = 0.0;
        bool isExact = true;
        for (std::uint32_t band = 0; band < bands.msBands; ++band) {
            const double weight = bands.weights[band];
            if (!IsOrdinary(weight)) return;
            weights[band] = static_cast<Real>(weight);
            if (weight != 0.0) weighted[weightedBands++] = band;
            weightSum += weight;
            isExact = isExact && weight == std::floor(weight);
        }
        double mostShare = 0.0; // of the intensity's error that reaches a sample
        for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
            if (!IsOrdinary(how.gains[c]) || !IsOrdinary(how.ratioGains[c])) return;
            mostShare = std::max(mostShare, how.gains[c] * weightSum + how.ratioGains[c]);
            gains[c] = static_cast<Real>(how.gains[c] * fixedOne);
            ratioGains[c] = static_cast<Real>(hasLimit ? how.ratioGains[c] / how.limit : how.ratioGains[c]);
        }
        const double ofIntensity = isExact ? 0.0 : bands.msBands + 2.0;
        constexpr double u =
            (std::numeric_limits<Real>::epsilon() + std::numeric_limits<double>::epsilon()) / 2;
        const double steps = u * (maxSample<T> + 1) * fixedOne * (9.0 + ofIntensity * (1.0 + mostShare));
        if (!(steps < mostError)) return;
        error = static_cast<int>(steps) + 1;
        limit = static_cast<Real>(hasLimit ? how.limit * fixedOne : fixedOne);
        floor = static_cast<Real>(how.floor);
        isDeep = sizeof(T) > 1 || !((hasLimit ? std::min(how.limit, mostShare) : mostShare) <= 2.0);
        isLastAlone = weightedBands == 1 && weights[bands.msBands - 1] == Real(1);
        isUsable = true;
    }

    static bool IsOrdinary(double number) { return number == 0.0 || (number >= least && number <= most); }

    /// What the samples of a pixel have in common.
    template <class V>
    struct Pixel {
        V detail, limitPerSample; ///< pan minus the intensity; fixedOne * limit / divisor
    };

    template <class D, class V = hn::Vec<D>>
    HWY_INLINE Pixel<V> OfPixel(D d, V pan, V intensity) const {
        const V divisor = hn::Max(intensity, hn::Set(d, floor));
        V quotient = hn::Div(hn::Set(d, limit), divisor);
        if (floor == Real(0)) quotient = hn::IfThenElseZero(hn::Ne(divisor, hn::Zero(d)), quotient);
        return {hn::Sub(pan, intensity), quotient};
    }

    /// fixedOne times (the result plus one half), plus FixedOffset.
    template <class D, class V = hn::Vec<D>>
    HWY_INLINE V Result(D d, V sample, const Pixel<V>& pixel, std::uint32_t c) const {
        const V t = hn::Mul(sample, pixel.limitPerSample);
        V gain = hn::MulAdd(t, hn::Set(d, ratioGains[c]), hn::Set(d, gains[c]));
        if (hasLimit) gain = hn::Min(gain, t);
        const V half = hn::Set(d, FixedOffset<Real>(error) + Real(0.5) * fixedOne);
        return hn::MulAdd(gain, pixel.detail, hn::MulAdd(sample, hn::Set(d, Real(fixedOne)), half));
    }

    HWY_ATTR bool Filtered(T* planes, const T* HWY_RESTRICT pan, Uncertain& uncertain) const {
        const hn::ScalableTag<Real> d;
        const WholeNumbers d32;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
            const auto pixelFrom = [&](std::size_t p) HWY_ATTR {
                auto intensity = hn::Zero(d);
                for (std::uint32_t k = 0; k < weightedBands; ++k)
                    intensity = hn::MulAdd(LoadReal(d, planes + weighted[k] * blockPixels + p),
                                           hn::Set(d, weights[weighted[k]]), intensity);
                return OfPixel(d, LoadReal(d, pan + p), intensity);
            };
            const auto pixel = pixelFrom(i);
            const auto secondPixel = sizeof(T) == 1 ? pixel : pixelFrom(i + hn::Lanes(d));
            auto fractions = hn::Zero(d32);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto results = FixedResults<T>([&](std::size_t first) HWY_ATTR {
                    return Result(d, LoadReal(d, samples + first), first == 0 ? pixel : secondPixel, c);
                });
                StoreResults(results, samples, fractions);
            }
            AddUncertain(d32, IsUncertain(fractions, error), i, uncertain);
        }
        return uncertain.Count() <= mostUncertain;
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr bool fusesQuads = true;

    template <class D, class S, class V>
    HWY_INLINE void Quads(D d, S& words, const QuadsOf<V>& ms, const QuadsOf<V>& pan, const QuadsOf<V>& sums,
                          std::size_t firstQuad, Uncertain& uncertain) const {
        auto fractions = hn::Zero(WholeNumbers());
        const auto result = [&](std::size_t i) HWY_ATTR {
            return NotTooDeep(d, Result(d, ms.bands[i], OfPixel(d, pan.bands[i], sums.bands[i]), 0));
        };
        words = JoinFixed(d, result(0), result(1), result(2), result(3), fractions);
        AddUncertainOfSums(d, fractions, error, firstQuad, uncertain);
    }

    template <class D, class V = hn::Vec<D>>
    HWY_INLINE V NotTooDeep(D d, V fixed) const {
        return isDeep ? hn::Max(fixed, hn::Set(d, fixedUnit<Real>)) : fixed;
    }

    template <class D, class S, class V, std::uint32_t Bands>
    HWY_INLINE void Packed(D d, PackedPixels<S, Bands>& packed, const SomeBands<V, Bands>& ms, const T* pan,
                           const T* additional, std::size_t firstPixel, Uncertain& uncertain) const {
        const V intensity = additional && isLastAlone
                                ? LoadReal(d, additional)
                                : FilteredSumOfBands(d, ms, additional, weights, hn::Zero(d));
        const Pixel<V> pixel = OfPixel(d, LoadReal(d, pan), intensity);
        const auto result = [&](std::uint32_t band) HWY_ATTR {
            const std::uint32_t c = std::min(band, Bands - 1);
            return NotTooDeep(d, Result(d, ms.bands[c], pixel, c));
        };
        auto fractions = hn::Zero(WholeNumbers());
        for (std::uint32_t w = 0, c = 0; c < Bands; ++w, c += packedBands)
            packed.words[w] = JoinFixed(d, result(c), result(c + 1), result(c + 2), result(c + 3), fractions);
        AddUncertainOfSums(d, fractions, error, firstPixel, uncertain);
    }
#endif

    HWY_ATTR void Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
        const hn::ScalableTag<double> d;
        const auto lowest = hn::Set(d, how.floor);
        for (std::size_t i = 0; i < pixels; i += hn::Lanes(d)) {
            const auto intensity = WeightedSum(planes + i, bands.weights, bands.msBands);
            const auto detail = hn::Sub(LoadReal(d, pan + i), intensity);
            const auto m = hn::IfThenElse(hn::Gt(intensity, lowest), intensity, lowest);
            const auto r = hn::IfThenElseZero(hn::Gt(m, hn::Zero(d)), hn::Div(hn::Set(d, 1.0), m));
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto sample = LoadReal(d, samples);
                const auto q = hn::Mul(sample, r);
                auto g = hn::Set(d, how.gains[c]);
                if (how.ratioGains[c] != 0.0) g = hn::Add(g, hn::Mul(hn::Set(d, how.ratioGains[c]), q));
                const auto limited = hn::Mul(hn::Set(d, how.limit), q);
                g = hn::IfThenElse(hn::Lt(limited, g), limited, g);
                const auto x = hn::Add(sample, hn::Mul(g, detail));
                StoreTruncatedLanes(d, hn::Add(Clamp<T>(d, x), hn::Set(d, 0.5)), samples);
            }
        }
    }

    const BandWeights& bands;
    const InjectionGains& how;
    const bool hasLimit;
    bool isUsable = false;
    bool isDeep = false;      ///< a result may be too far below 0 to be packed
    bool isLastAlone = false; ///< the intensity is just the last band
    int error = 0;            ///< of results, in steps of 1 / fixedOne
    Real limit = 0;           ///< fixedOne times the limit
    Real floor = 0;
    std::uint32_t weightedBands = 0;
    std::uint32_t weighted[mostPlanes] = {}; ///< the bands whose weight is not 0
    Real weights[mostPlanes] = {};
    Real gains[mostPlanes] = {};      ///< fixedOne times the gains
    Real ratioGains[mostPlanes] = {}; ///< fixedOne times the ratio gains, over the limit
};

template <class T>
HWY_ATTR void InjectionRow(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands) {
    if (HasManyBands(rows, bands)) return InjectionRowScalar(rows, out, pixels, bands);
    FuseFiltered(rows, out, pixels, InjectionFilter<T>(bands));
}

FuseRow<unsigned char> InjectionRow8() { return &InjectionRow<unsigned char>; }
FuseRow<unsigned short> InjectionRow16() { return &InjectionRow<unsigned short>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(InjectionRow8);
PANSHARP_EXPORT(InjectionRow16);

template <>
FuseRow<unsigned char> InjectionRowFor(SimdTarget target) {
    return ForTarget<FuseRow<unsigned char>>(target, &InjectionRowScalar, HWY_DISPATCH_TABLE(InjectionRow8));
}

template <>
FuseRow<unsigned short> InjectionRowFor(SimdTarget target) {
    return ForTarget<FuseRow<unsigned short>>(target, &InjectionRowScalar,
                                              HWY_DISPATCH_TABLE(InjectionRow16));
}

} // namespace kernels
#endif
