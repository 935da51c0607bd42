// KOVA in vectors of whatever width the processor has; the same bytes as the scalar definition.
#include "kernels/KovaRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/KovaRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Words-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

// Every output band of a pixel is round(clamp(ms + d)), which is clamp(ms + r) for the whole number
// r = floor(d + 1/2), whenever d is known well enough to tell r and the roundings on the way cannot carry
// ms + d across a half.
//
// In double, d is that of the definition. With |d| < 2^20 the roundings of ms + d are at most 2^-33, and they
// can do harm only where d lies nearer than 2^-30 to a half, and not exactly on one.
constexpr double mostShift = 1048576.0;
constexpr double nearHalf = 1.0 / (1 << 30);

// In float, for 8-bit samples, r is the whole number nearest to d, with half of them in doubt, and so is what
// d errs by. With weights of magnitude W together that is at most
//
//     2^-24 * 256 * (W [weights] + (bands + 1) * W [products and sums] + 1 + W [d])
//
// of which twice as much is allowed for. All is exact when every weight is a whole number of 2^-10 and no sum
// reaches 2^12: then 2^-12 more than d is never a half, and nearest to r.
constexpr double exactUnit = 1024.0;
constexpr double mostExact = 4096.0;
constexpr float aboveHalf = 1.0F / 4096;
constexpr double mostFloatError = 1.0 / 64;

/// Being added to a whole number leaves it as the lowest bits.
template <class Real>
constexpr Real lowestBits = fixedUnit<Real> + fixedUnit<Real> / 2;

/// What the weights allow; made once a row.
template <class T>
struct KovaWay {
    explicit KovaWay(const BandWeights& bandWeights) : bands(bandWeights) {
        double magnitude = 0.0;
        bool isExact = true;
        for (std::uint32_t band = 0; band < bands.msBands; ++band) {
            const double weight = bands.weights[band];
            magnitude += std::fabs(weight);
            isExact = isExact && weight * exactUnit == std::floor(weight * exactUnit);
        }
        hasQuick = maxSample<T> * (magnitude + 1.0) < mostShift;
        hasWords = hasQuick;
        if (sizeof(T) != 1 || !hasQuick) return;
        isExact = isExact && maxSample<T> * (magnitude + 1.0) < mostExact;
        const double error = isExact ? 0.0 : ((bands.msBands + 4) * magnitude + 2.0) / 32768.0;
        isFloat = error < mostFloatError;
        hasWords = isFloat;
        farthest = static_cast<float>(0.5 - error);
        above = isExact ? aboveHalf : 0.0F;
        for (std::uint32_t band = 0; isFloat && band < bands.msBands; ++band)
            floatWeights[band] = static_cast<float>(bands.weights[band]);
    }

    /// The whole shifts of some pixels from their differences.
    template <class D>
    HWY_INLINE hn::Vec<D> Shifts(D d, hn::Vec<D> difference, std::size_t firstPixel, Doubts& doubts) const {
        const auto half = hn::Set(d, 0.5);
        const auto shift = hn::Floor(hn::Add(difference, half));
        // How far above the half below, in [0, 1] but for rounding.
        const auto aboveHalfBelow = hn::Sub(difference, hn::Sub(shift, half));
        const auto fromMiddle = hn::Abs(hn::Sub(aboveHalfBelow, half));
        AddDoubts(
            d, hn::And(hn::Gt(fromMiddle, hn::Set(d, 0.5 - nearHalf)), hn::Ne(aboveHalfBelow, hn::Zero(d))),
            firstPixel, doubts);
        return shift;
    }

    /// The same in float, from differences that are `above` more, as whole numbers.
    template <class D>
    HWY_INLINE hn::Vec<hn::Rebind<std::int32_t, D>>
    WholeShifts(D d, hn::Vec<D> difference, std::size_t firstPixel, Doubts& doubts) const {
        const hn::Rebind<std::int32_t, D> d32;
        const auto unit = hn::Set(d, lowestBits<float>); // makes the sum whole
        const auto sum = hn::Add(difference, unit);
        const auto fromShift = hn::Abs(hn::Sub(difference, hn::Sub(sum, unit)));
        AddDoubts(d, hn::Gt(fromShift, hn::Set(d, farthest)), firstPixel, doubts);
        return hn::Sub(hn::BitCast(d32, sum), hn::BitCast(d32, unit));
    }

#if HWY_TARGET != HWY_SCALAR
    template <class D, class S, class V, std::uint32_t Bands>
    HWY_INLINE void Words(D d, SomeWords<S, Bands>& of, const SomeBands<V, Bands>& ms, V pan,
                          std::size_t firstPixel, Doubts& doubts) const {
        const auto add = [&](S up, S down) HWY_ATTR {
            for (S& words : of.words)
                words = hn::SaturatedSub(hn::SaturatedAdd(words, up), down);
        };
        if constexpr (sizeof(T) == 1) {
            const auto sum = QuickSumOfBands(d, ms, floatWeights, hn::Set(d, -above));
            const auto shift = WholeShifts(d, hn::Sub(pan, sum), firstPixel, doubts);
            const auto [up, down] = RepeatLimited(hn::Rebind<std::int32_t, D>(), shift);
            add(up, down);
        } else {
            const auto limit = [&](V x) HWY_ATTR {
                return RepeatLowest(d,
                                    ToWords(d, hn::Min(hn::Max(x, hn::Zero(d)), hn::Set(d, maxSample<T>))));
            };
            const auto shift = Shifts(d, hn::Sub(pan, SumOfBands(d, ms, bands.weights)), firstPixel, doubts);
            add(limit(shift), limit(hn::Neg(shift)));
        }
    }
#endif

    /// Shifts of a block, upward and downward; one of the two is 0.
    template <class Real>
    HWY_ATTR void BlockShifts(const T* planes, const T* pan, T* up, T* down, Doubts& doubts) const {
        const hn::ScalableTag<Real> d;
        const WholeNumbers d32;
        const hn::Rebind<T, WholeNumbers> narrow;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
            const auto shift = [&]() HWY_ATTR {
                if constexpr (sizeof(Real) == 4) {
                    const auto sum = QuickSum(d, planes + i, floatWeights, bands.msBands);
                    const auto difference = hn::Sub(LoadReal(d, pan + i), sum);
                    return WholeShifts(d, hn::Add(difference, hn::Set(d, above)), i, doubts);
                } else {
                    const auto from = [&](std::size_t p) HWY_ATTR {
                        const auto sum = WeightedSum(planes + p, bands.weights, bands.msBands);
                        const auto most = hn::Set(d, maxSample<T>);
                        const auto found = Shifts(d, hn::Sub(LoadReal(d, pan + p), sum), p, doubts);
                        const auto limited = hn::Min(hn::Max(found, hn::Neg(most)), most);
                        return hn::Add(limited, hn::Set(d, lowestBits<Real>));
                    };
                    return JoinLower(from(i), from(i + hn::Lanes(d)));
                }
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

    HWY_ATTR bool Quick(T* planes, const T* pan, Doubts& doubts) const {
        HWY_ALIGN T up[blockPixels];
        HWY_ALIGN T down[blockPixels];
        bool isFound = false;
        if constexpr (sizeof(T) == 1)
            if (isFloat) {
                BlockShifts<float>(planes, pan, up, down, doubts);
                isFound = doubts.count <= mostDoubts;
            }
        if (!isFound) {
            doubts.count = 0;
            BlockShifts<double>(planes, pan, up, down, doubts);
            if (doubts.count > mostDoubts) return false;
        }
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
    bool hasQuick = false;
    bool isFloat = false;
    bool hasWords = false;
    float farthest = 0.5F; ///< from a shift without doubt
    float above = 0.0F;    ///< what differences in float are too large by
    float floatWeights[mostBands] = {};
};

template <class T>
HWY_ATTR void KovaRow(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    if (bands.msBands > mostBands) return KovaRowScalar(ms, pan, out, pixels, bands);
    FuseFast(ms, pan, out, pixels, bands, KovaWay<T>(bands));
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
