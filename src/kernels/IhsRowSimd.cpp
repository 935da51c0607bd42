// IHS in vectors of any width, with the same bytes as the scalar definition.
#include "kernels/IhsRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>
#include <cmath>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/IhsRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Filtered-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

template <class V>
struct Triple {
    V r, g, b;
};

/// Hue and saturation of a colour with a new value. Every lane computes both, by the operations of the
/// definition in its order; branches become selections.
template <class D, class V = hn::Vec<D>>
HWY_INLINE Triple<V> ReplaceValue(D d, const Triple<V>& in, V value) {
    const auto number = [&](double x) HWY_ATTR { return hn::Set(d, x); };
    const V largest = hn::Max(in.r, hn::Max(in.g, in.b));
    const V smallest = hn::Min(in.r, hn::Min(in.g, in.b));
    const V middle = hn::Max(hn::Min(in.r, in.g), hn::Min(hn::Max(in.r, in.g), in.b));
    const V spread = hn::Sub(largest, smallest);
    const auto grey = hn::Or(hn::Eq(spread, hn::Zero(d)), hn::Eq(value, hn::Zero(d)));
    const V saturation = hn::Div(spread, largest); // grey lanes divide by 0 and are not used
    const V rise = hn::Div(hn::Div(hn::Sub(middle, smallest), spread), number(6.0));
    const V fall = hn::Sub(number(1.0 / 6.0), rise);

    const auto hueOf = [&](V next, double rising, double falling) HWY_ATTR {
        return hn::IfThenElse(hn::Eq(next, middle), hn::Add(rise, number(rising)),
                              hn::Add(fall, number(falling)));
    };
    const V hueR = hn::IfThenElse(hn::Eq(in.g, middle), rise, hn::Add(fall, number(5.0 / 6.0)));
    const V hueG = hueOf(in.b, 1.0 / 3.0, 1.0 / 6.0);
    const V hueB = hueOf(in.r, 2.0 / 3.0, 1.0 / 2.0);
    const V hue =
        hn::IfThenElse(hn::Eq(largest, in.r), hueR, hn::IfThenElse(hn::Eq(largest, in.g), hueG, hueB));

    const V low = hn::Mul(value, hn::Sub(number(1.0), saturation));
    const V excess = hn::Sub(value, low);
    const auto below1 = hn::Lt(hue, number(1.0 / 6.0));
    const auto below2 = hn::Lt(hue, number(1.0 / 3.0));
    const auto below3 = hn::Lt(hue, number(1.0 / 2.0));
    const auto below4 = hn::Lt(hue, number(2.0 / 3.0));
    const auto below5 = hn::Lt(hue, number(5.0 / 6.0));
    const auto bySector = [&](V s0, V s1, V s2, V s3, V s4, V s5) HWY_ATTR {
        const V upper = hn::IfThenElse(below4, s3, hn::IfThenElse(below5, s4, s5));
        return hn::IfThenElse(below1, s0, hn::IfThenElse(below2, s1, hn::IfThenElse(below3, s2, upper)));
    };
    const V start = bySector(number(0.0 / 6.0), number(1.0 / 6.0), number(2.0 / 6.0), number(3.0 / 6.0),
                             number(4.0 / 6.0), number(5.0 / 6.0));
    const V step = hn::Mul(number(6.0), hn::Mul(hn::Sub(hue, start), excess));
    const V rising = hn::Add(low, step);
    const V falling = hn::Sub(value, step);
    const auto choose = [&](V colored) HWY_ATTR { return hn::IfThenElse(grey, value, colored); };
    return {choose(bySector(value, falling, low, low, rising, value)),
            choose(bySector(rising, value, value, falling, low, low)),
            choose(bySector(low, low, rising, value, value, falling))};
}

// A new value V keeps the proportions of the three bands: the result is V * max * band / largest, except for
// rounding. The largest band is V * max, rounded. So is another band that equals it, since the hue then lies
// exactly on the end of a sector. Count errors in steps of 1 / fixedOne. V * max is pan if there is no
// infrared. In float the other bands err by at most 1 for quotient and product and 2 for V * max (its
// coefficient, product and sum). In double, for 16 bits, that is negligible, and so is the error of the
// definition's hue.
//
// The fourth band is a sum of three numbers of at most 255. In float it errs by half a step for each of its
// two coefficients and products, for its offset and for the second sum, and by one step for the last sum. In
// double it errs by half a step for the offset and for both sums.
template <class T>
struct IhsFilter {
    using Real = RealOf<T>;
    static constexpr int error = sizeof(T) == 1 ? 6 : 2;
    static constexpr double mostWeight = 1.0; ///< of infrared; the value is then at most 2

    explicit IhsFilter(const BandWeights& bandWeights)
        : bands(bandWeights), infraredWeight(bands.msBands > 3 ? bands.weights[3] / maxSample<T> : 0.0),
          isUsable(bands.msBands <= 3 || std::fabs(bands.weights[3]) <= mostWeight) {
        if (!isUsable) return;
        infraredOfValue = static_cast<Real>(infraredWeight * maxSample<T> * fixedOne);
        infraredOfFourth = static_cast<Real>(infraredWeight * fixedOne);
    }

    HWY_ATTR bool Filtered(T* planes, const T* HWY_RESTRICT pan, Uncertain& uncertain) const {
        if (infraredWeight != 0.0)
            FilteredBands<true>(planes, pan, uncertain);
        else
            FilteredBands<false>(planes, pan, uncertain);
        return uncertain.Count() <= mostUncertain &&
               (bands.outputBands <= 3 || FilteredFourth(planes, pan, uncertain));
    }

    /// V * max as it is stored, in steps, rounded like the definition: often it lies just below or on a whole
    /// number.
    template <bool IsInfrared>
    HWY_INLINE auto StoredValue(const T* pan, const T* fourth) const {
        const hn::ScalableTag<double> d;
        return FixedResults<T, double>([&](std::size_t first) HWY_ATTR {
            auto value = hn::Mul(LoadReal(d, pan + first), hn::Set(d, 1.0 / maxSample<T>));
            if constexpr (IsInfrared)
                value = hn::Sub(value, hn::Mul(LoadReal(d, fourth + first), hn::Set(d, infraredWeight)));
            const auto whole = hn::Floor(hn::Mul(value, hn::Set(d, maxSample<T>)));
            return hn::MulAdd(whole, hn::Set(d, fixedOne), hn::Set(d, fixedUnit<double>));
        });
    }

    template <bool IsInfrared>
    HWY_ATTR void FilteredBands(T* planes, const T* HWY_RESTRICT pan, Uncertain& uncertain) const {
        const hn::ScalableTag<Real> d;
        const WholeNumbers d32;
        const hn::Rebind<T, WholeNumbers> narrow;
        const auto one = hn::Set(d, static_cast<Real>(fixedOne));
        const auto offset = hn::Set(d, FixedOffset<Real>(error));
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
            const auto whole = [&](std::uint32_t band) HWY_ATTR {
                return hn::PromoteTo(d32, hn::LoadU(narrow, planes + band * blockPixels + i));
            };
            const auto largest = hn::Max(whole(0), hn::Max(whole(1), whole(2)));
            const auto ratioFrom = [&](std::size_t first) HWY_ATTR {
                auto value = hn::Mul(LoadReal(d, pan + i + first), one);
                if constexpr (IsInfrared) {
                    const auto samples = LoadReal(d, planes + 3 * blockPixels + i + first);
                    value = hn::Max(hn::NegMulAdd(samples, hn::Set(d, infraredOfValue), value), hn::Zero(d));
                }
                return hn::Div(value, hn::Max(ToReal<T>(largest, first), hn::Set(d, Real(1))));
            };
            const auto ratio = ratioFrom(0);
            const auto secondRatio = sizeof(T) == 1 ? ratio : ratioFrom(hn::Lanes(d));
            const auto ofLargest = StoredValue<IsInfrared>(pan + i, planes + 3 * blockPixels + i);
            auto fractions = hn::Zero(d32);
            for (std::uint32_t c = 0; c < 3; ++c) {
                T* samples = planes + c * blockPixels + i;
                const auto isLargest = hn::Eq(whole(c), largest);
                const auto results = FixedResults<T>([&](std::size_t first) HWY_ATTR {
                    return hn::MulAdd(LoadReal(d, samples + first), first == 0 ? ratio : secondRatio, offset);
                });
                StoreResults(hn::IfThenElse(isLargest, ofLargest, results), samples, fractions);
            }
            AddUncertain(d32, IsUncertain(fractions, error), i, uncertain);
        }
    }

    /// The fourth band from the three new ones.
    HWY_ATTR bool FilteredFourth(T* planes, const T* HWY_RESTRICT pan, Uncertain& uncertain) const {
        const hn::ScalableTag<Real> d;
        const WholeNumbers d32;
        const hn::Rebind<T, WholeNumbers> narrow;
        // Without infrared, a third of the results would be whole and so uncertain. With a sixth added, none
        // is.
        const Real more = infraredWeight != 0.0 ? Real(0) : Real(fixedOne / 6.0);
        const auto offset = hn::Set(d, FixedOffset<Real>(error) + more);
        Uncertain ofFourth;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d32)) {
            const auto whole = [&](std::uint32_t band) HWY_ATTR {
                return hn::PromoteTo(d32, hn::LoadU(narrow, planes + band * blockPixels + i));
            };
            const auto sum = hn::Add(hn::Add(whole(0), whole(1)), whole(2));
            T* fourth = planes + 3 * blockPixels + i;
            const auto results = FixedResults<T>([&](std::size_t first) HWY_ATTR {
                const auto ofPan =
                    hn::MulAdd(LoadReal(d, pan + i + first), hn::Set(d, Real(fixedOne)), offset);
                const auto less = hn::MulAdd(ToReal<T>(sum, first), hn::Set(d, Real(fixedOne / -3.0)), ofPan);
                return hn::MulAdd(LoadReal(d, fourth + first), hn::Set(d, infraredOfFourth), less);
            });
            auto fractions = hn::Zero(d32);
            StoreResults(results, fourth, fractions);
            AddUncertain(d32, IsUncertain(fractions, error), i, ofFourth);
        }
        if (ofFourth.Count() > mostUncertain) return false;
        for (std::size_t i = 0; i < std::size(uncertain.bits); ++i)
            uncertain.bits[i] |= ofFourth.bits[i];
        return true;
    }

    /// The fourth band by the definition.
    HWY_ATTR void AddFourth(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
        const hn::ScalableTag<double> d;
        for (std::size_t i = 0; i < pixels; i += hn::Lanes(d)) {
            const auto load = [&](std::uint32_t band)
                                  HWY_ATTR { return LoadReal(d, planes + band * blockPixels + i); };
            const auto infrared = hn::Mul(load(3), hn::Set(d, infraredWeight));
            const auto sum = hn::Add(hn::Add(load(0), load(1)), load(2)); // exact in any order
            const auto fourth =
                hn::Add(hn::Sub(LoadReal(d, pan + i), hn::Div(sum, hn::Set(d, 3.0))), infrared);
            StoreTruncatedLanes(d, Clamp<T>(d, fourth), planes + 3 * blockPixels + i);
        }
    }

    HWY_ATTR void Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const;

    const BandWeights& bands;
    double infraredWeight;
    bool isUsable;
    Real infraredOfValue = 0;  ///< infrared weight in V * max, in steps
    Real infraredOfFourth = 0; ///< infrared weight in the fourth band
};

/// Fuses by the operations of the definition. Planes from the fifth on stay unchanged.
template <class T>
HWY_ATTR void IhsFilter<T>::Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
    const hn::ScalableTag<double> d;
    using V = hn::Vec<decltype(d)>;
    const V unit = hn::Set(d, 1.0 / maxSample<T>);
    const V most = hn::Set(d, maxSample<T>);
    const V weight = hn::Set(d, infraredWeight);
    for (std::size_t i = 0; i < pixels; i += hn::Lanes(d)) {
        const auto plane = [&](std::uint32_t band) { return planes + band * blockPixels + i; };
        const auto load = [&](std::uint32_t band) HWY_ATTR { return LoadReal(d, plane(band)); };
        const V panSample = LoadReal(d, pan + i);
        V infrared = hn::Zero(d);
        if (bands.msBands > 3) infrared = hn::Mul(load(3), weight);
        V value = hn::Sub(hn::Mul(panSample, unit), infrared);
        value = hn::IfThenElseZero(hn::Gt(value, hn::Zero(d)), value);
        const Triple<V> rgb = ReplaceValue(
            d, Triple<V>{hn::Mul(load(0), unit), hn::Mul(load(1), unit), hn::Mul(load(2), unit)}, value);
        StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(rgb.r, most)), plane(0));
        StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(rgb.g, most)), plane(1));
        StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(rgb.b, most)), plane(2));
    }
    if (bands.outputBands > 3) AddFourth(planes, pan, pixels);
}

template <class T>
HWY_ATTR void IhsRow(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands) {
    if (HasManyBands(rows, bands)) return IhsRowScalar(rows, out, pixels, bands);
    FusePlanar(rows, out, pixels, IhsFilter<T>(bands));
}

FuseRow<unsigned char> IhsRow8() { return &IhsRow<unsigned char>; }
FuseRow<unsigned short> IhsRow16() { return &IhsRow<unsigned short>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(IhsRow8);
PANSHARP_EXPORT(IhsRow16);

template <>
FuseRow<unsigned char> IhsRowFor(SimdTarget target) {
    return ForTarget<FuseRow<unsigned char>>(target, &IhsRowScalar, HWY_DISPATCH_TABLE(IhsRow8));
}

template <>
FuseRow<unsigned short> IhsRowFor(SimdTarget target) {
    return ForTarget<FuseRow<unsigned short>>(target, &IhsRowScalar, HWY_DISPATCH_TABLE(IhsRow16));
}

} // namespace kernels
#endif
