// KOVA in vectors of any width, with the same bytes as the scalar definition.
#include "kernels/KovaRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>
#include <cmath>
#include <limits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/KovaRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Packed-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

// An output band is round(clamp(ms + d)). Let r be the whole number nearest to d, a half rounded up. The
// result equals clamp(ms + r) if d is known well enough to determine r, and if the rounding of ms + d cannot
// carry it across a half. That rounding is at most 2^-33 while |d| < 2^20.
//
// The filter computes d in float for 8-bit samples and in double for 16-bit samples, and rounds it to r. The
// result is uncertain if d lies within its error of a half. With W the sum of the magnitudes of the weights,
// the error is at most
//
//     u * (max + 1) * (W [weights] + (bands + 1) * W [products and sums] + 1 + W [d])
//
// where u is 2^-24 or 2^-53. The bound is twice that, which covers the definition's own rounding in double,
// plus 2^-30.
//
// Everything is exact if all weights are multiples of 2^-10 and no sum reaches 2^12, or of 2^-20 and 2^20.
// Then d plus a quarter of that unit is never a half, and its nearest whole number is r.
template <class T>
struct KovaBounds {
    static constexpr bool isFloat = sizeof(T) == 1;
    static constexpr double unit = isFloat ? 1.0 / (1 << 10) : 1.0 / (1 << 20); ///< of exact weights
    static constexpr double mostExact = isFloat ? 1 << 12 : 1 << 20;
    static constexpr double errorUnit = std::numeric_limits<RealOf<T>>::epsilon() * (maxSample<T> + 1);
    static constexpr double nearHalf = 1.0 / (1 << 30);
    static constexpr double mostShift = isFloat ? (1 << 15) - 1 : 1 << 20;
    static constexpr double mostError = 1.0 / 64; ///< beyond it, too many pixels are uncertain
};

template <class T>
struct KovaFilter {
    using Real = RealOf<T>;
    using Bounds = KovaBounds<T>;

    explicit KovaFilter(const BandWeights& bandWeights) : bands(bandWeights) {
        double magnitude = 0.0;
        bool isExact = true;
        for (std::uint32_t band = 0; band < bands.msBands; ++band) {
            const double steps = bands.weights[band] / Bounds::unit;
            magnitude += std::fabs(bands.weights[band]);
            isExact = isExact && steps == std::floor(steps);
        }
        const double most = maxSample<T> * (magnitude + 1.0);
        isExact = isExact && most < Bounds::mostExact;
        const double error =
            isExact ? 0.0 : Bounds::errorUnit * ((bands.msBands + 3) * magnitude + 1.0) + Bounds::nearHalf;
        isUsable = most < Bounds::mostShift && error < Bounds::mostError;
        if (!isUsable) return;
        farthest = static_cast<Real>(0.5 - error);
        above = static_cast<Real>(isExact ? Bounds::unit / 4 : 0.0);
        for (std::uint32_t band = 0; band < bands.msBands; ++band)
            weights[band] = static_cast<Real>(bands.weights[band]);
    }

    /// The whole shifts of some pixels, in the lowest bits. The sums of bands are too small by `above`.
    /// Raises `fromShift` to the distances from them if greater.
    template <class D>
    HWY_INLINE hn::Vec<D> Shifts(D d, hn::Vec<D> pan, hn::Vec<D> sum, hn::Vec<D>& fromShift) const {
        const auto difference = hn::Sub(pan, sum);
        const auto unit = hn::Set(d, signedUnit<Real>); // makes it whole
        const auto shift = hn::Add(difference, unit);
        fromShift = hn::Max(fromShift, hn::Abs(hn::Sub(difference, hn::Sub(shift, unit))));
        return shift;
    }
    template <class D>
    HWY_INLINE void AddUncertainShifts(D d, hn::Vec<D> fromShift, std::size_t firstPixel,
                                       Uncertain& uncertain) const {
        AddUncertain(d, hn::Gt(fromShift, hn::Set(d, farthest)), firstPixel, uncertain);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr bool fusesQuads = true;

    template <class D, class S, class V>
    HWY_INLINE void Quads(D d, S& words, const QuadsOf<V>& /*ms*/, const QuadsOf<V>& pan,
                          const QuadsOf<V>& sums, std::size_t firstQuad, Uncertain& uncertain) const {
        V fromShift = hn::Zero(d);
        const auto shift = [&](std::size_t i) HWY_ATTR {
            return Shifts(d, pan.bands[i], hn::Sub(sums.bands[i], hn::Set(d, above)), fromShift);
        };
        const V a = shift(0), b = shift(1), c = shift(2), e = shift(3);
        AddUncertainShifts(d, fromShift, firstQuad, uncertain);
        const auto [up, down] = JoinLimited(d, a, b, c, e);
        words = hn::SaturatedSub(hn::SaturatedAdd(words, up), down);
    }

    template <class D, class S, class V, std::uint32_t Bands>
    HWY_INLINE void Packed(D d, PackedPixels<S, Bands>& packed, const SomeBands<V, Bands>& ms, const T* pan,
                           const T* additional, std::size_t firstPixel, Uncertain& uncertain) const {
        const auto sum = FilteredSumOfBands(d, ms, additional, weights, hn::Set(d, -above));
        V fromShift = hn::Zero(d);
        const V shifts = Shifts(d, LoadReal(d, pan), sum, fromShift);
        AddUncertainShifts(d, fromShift, firstPixel, uncertain);
        const auto [up, down] = RepeatLimited(d, shifts);
        for (S& words : packed.words)
            words = hn::SaturatedSub(hn::SaturatedAdd(words, up), down);
    }
#endif

    /// The shifts of a block, upward and downward; one of the two is 0.
    HWY_ATTR void BlockShifts(const T* planes, const T* pan, T* up, T* down, Uncertain& uncertain) const {
        const hn::ScalableTag<Real> d;
        const WholeNumbers d32;
        const hn::Rebind<T, WholeNumbers> narrow;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
            const auto from = [&](std::size_t p) HWY_ATTR {
                const auto sum = FilteredSum(d, planes + p, weights, bands.msBands);
                auto fromShift = hn::Zero(d);
                const auto shifts =
                    Shifts(d, LoadReal(d, pan + p), hn::Sub(sum, hn::Set(d, above)), fromShift);
                AddUncertainShifts(d, fromShift, p, uncertain);
                return shifts;
            };
            const auto shift = [&]() HWY_ATTR {
                if constexpr (sizeof(T) == 1)
                    return hn::Sub(hn::BitCast(d32, from(i)), hn::BitCast(d32, hn::Set(d, signedUnit<Real>)));
                else
                    return JoinLower(from(i), from(i + hn::Lanes(d)));
            }();
            hn::StoreU(hn::DemoteTo(narrow, shift), narrow, up + i); // saturated
            hn::StoreU(hn::DemoteTo(narrow, hn::Neg(shift)), narrow, down + i);
        }
    }

    HWY_ATTR void ShiftPlanes(T* planes, const T* up, const T* down) const {
        const hn::ScalableTag<T> d;
        for (std::uint32_t c = 0; c < bands.outputBands; ++c, planes += blockPixels)
            for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
                const auto raised = hn::SaturatedAdd(hn::LoadU(d, planes + i), hn::Load(d, up + i));
                hn::StoreU(hn::SaturatedSub(raised, hn::Load(d, down + i)), d, planes + i);
            }
    }

    HWY_ATTR bool Filtered(T* planes, const T* pan, Uncertain& uncertain) const {
        HWY_ALIGN T up[blockPixels];
        HWY_ALIGN T down[blockPixels];
        BlockShifts(planes, pan, up, down, uncertain);
        if (uncertain.Count() > mostUncertain) return false;
        ShiftPlanes(planes, up, down);
        return true;
    }

    /// round(clamp(ms + d)) in double, for any weights.
    HWY_ATTR void Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
        const hn::ScalableTag<double> d;
        for (std::size_t i = 0; i < pixels; i += hn::Lanes(d)) {
            const auto s = WeightedSum(planes + i, bands.weights, bands.msBands);
            const auto difference = hn::Sub(LoadReal(d, pan + i), s);
            for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto x = hn::Add(LoadReal(d, samples), difference);
                StoreTruncatedLanes(d, hn::Add(Clamp<T>(d, x), hn::Set(d, 0.5)), samples);
            }
        }
    }

    const BandWeights& bands;
    bool isUsable = false;
    Real farthest = 0; ///< distance from a whole shift up to which it is certain
    Real above = 0;    ///< by how much differences are too large
    Real weights[mostPlanes] = {};
};

template <class T>
HWY_ATTR void KovaRow(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands) {
    if (HasManyBands(rows, bands)) return KovaRowScalar(rows, out, pixels, bands);
    FuseFiltered(rows, out, pixels, KovaFilter<T>(bands));
}

FuseRow<unsigned char> KovaRow8() { return &KovaRow<unsigned char>; }
FuseRow<unsigned short> KovaRow16() { return &KovaRow<unsigned short>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(KovaRow8);
PANSHARP_EXPORT(KovaRow16);

template <>
FuseRow<unsigned char> KovaRowFor(SimdTarget target) {
    return ForTarget<FuseRow<unsigned char>>(target, &KovaRowScalar, HWY_DISPATCH_TABLE(KovaRow8));
}

template <>
FuseRow<unsigned short> KovaRowFor(SimdTarget target) {
    return ForTarget<FuseRow<unsigned short>>(target, &KovaRowScalar, HWY_DISPATCH_TABLE(KovaRow16));
}

} // namespace kernels
#endif
