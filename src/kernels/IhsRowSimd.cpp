// IHS in vectors of whatever width the processor has; the same bytes as the scalar definition.
#include "kernels/IhsRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/IhsRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Quick-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

template <class V>
struct Triple {
    V r, g, b;
};

/// Hue and saturation of the colour with a new value. Both are worked out for every lane, by the operations
/// of the definition in its order; the branches become choices.
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

// A new value V keeps the proportions of the three bands: the result is V * max * band / largest but for
// rounding. Where a band is the largest it is V * max rounded, since then its hue lies on the end of a sector
// exactly. The others err, with 8 bits in float, by at most 256 * 3 * 2^-24 (value, quotient, product), which
// is 3 / 2 in units of 2^-15; with 16 bits in double, the definition's hue and a value of up to 2 included,
// by less than 65536 * 2 * 6 * 4 * 2^-53 < 2^-31. Twice as much is allowed for.
template <class T>
struct IhsWay {
    using Real = RealOf<T>;
    static constexpr double nearWhole = 1.0 / (1 << 30); ///< with 16 bits
    static constexpr double mostWeight = 1.0;            ///< of infrared; keeps the value at most 2

    explicit IhsWay(const BandWeights& bandWeights)
        : bands(bandWeights), hasInfrared(bands.msBands > 3),
          infraredWeight(hasInfrared ? bands.weights[3] / maxSample<T> : 0.0),
          hasQuick(!hasInfrared || std::fabs(bands.weights[3]) <= mostWeight) {}

    /// V * max of a block, as it is and as it is stored.
    HWY_ATTR void FindValues(const T* planes, const T* HWY_RESTRICT pan, Real* HWY_RESTRICT values,
                             T* HWY_RESTRICT stored) const {
        const hn::ScalableTag<double> d;
        const hn::Rebind<Real, decltype(d)> dReal;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
            auto value = hn::Mul(LoadReal(d, pan + i), hn::Set(d, 1.0 / maxSample<T>));
            if (hasInfrared)
                value = hn::Sub(
                    value, hn::Mul(LoadReal(d, planes + 3 * blockPixels + i), hn::Set(d, infraredWeight)));
            value = hn::IfThenElseZero(hn::Gt(value, hn::Zero(d)), value);
            const auto x = hn::Mul(value, hn::Set(d, maxSample<T>));
            StoreTruncatedLanes(d, Clamp<T>(d, x), stored + i);
            if constexpr (sizeof(T) == 1)
                hn::Store(hn::DemoteTo(dReal, x), dReal, values + i);
            else
                hn::Store(x, d, values + i);
        }
    }

    HWY_ATTR bool Quick(T* planes, const T* HWY_RESTRICT pan, Doubts& doubts) const {
        HWY_ALIGN Real values[blockPixels];
        HWY_ALIGN T stored[blockPixels];
        FindValues(planes, pan, values, stored);
        if (!QuickBands(planes, values, stored, doubts)) return false;
        if (bands.outputBands > 3) AddFourth(planes, pan, blockPixels);
        return true;
    }

    HWY_ATTR bool QuickBands(T* planes, const Real* HWY_RESTRICT values, const T* HWY_RESTRICT stored,
                             Doubts& doubts) const {
        const hn::ScalableTag<Real> d;
        for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
            const auto load = [&](std::uint32_t band)
                                  HWY_ATTR { return LoadReal(d, planes + band * blockPixels + i); };
            const auto largest = hn::Max(load(0), hn::Max(load(1), load(2)));
            const auto ratio = hn::Div(hn::Load(d, values + i), hn::Max(largest, hn::Set(d, Real(1))));
            if constexpr (sizeof(T) == 1)
                FixedBands(d, planes + i, largest, ratio, stored + i, i, doubts);
            else
                RealBands(d, planes + i, largest, ratio, stored + i, i, doubts);
        }
        return doubts.count <= mostDoubts;
    }

    template <class D>
    HWY_INLINE void FixedBands(D d, T* planes, hn::Vec<D> largest, hn::Vec<D> ratio, const T* stored,
                               std::size_t firstPixel, Doubts& doubts) const {
        const hn::Rebind<std::int32_t, D> d32;
        const hn::Rebind<T, D> narrow;
        const auto scaled = hn::Mul(ratio, hn::Set(d, static_cast<float>(1 << FixedResults::bits)));
        const auto whole = hn::PromoteTo(d32, hn::LoadU(narrow, stored));
        auto fractions = hn::Zero(d32);
        for (std::uint32_t c = 0; c < 3; ++c) {
            T* samples = planes + c * blockPixels;
            const auto sample = LoadReal(d, samples);
            const auto isLargest = hn::RebindMask(d32, hn::Eq(sample, largest));
            const auto result = fixed.Product(d, sample, scaled);
            fractions = FixedResults::GreaterFraction(d32, fractions, hn::IfThenZeroElse(isLargest, result));
            const auto chosen = hn::IfThenElse(isLargest, whole, FixedResults::Whole(d32, result));
            hn::StoreU(hn::DemoteTo(narrow, chosen), narrow, samples);
        }
        AddDoubts(d, fixed.InDoubt(d32, fractions), firstPixel, doubts);
    }

    template <class D>
    HWY_INLINE void RealBands(D d, T* planes, hn::Vec<D> largest, hn::Vec<D> ratio, const T* stored,
                              std::size_t firstPixel, Doubts& doubts) const {
        const auto whole = LoadReal(d, stored);
        auto doubt = hn::Lt(ratio, ratio);
        for (std::uint32_t c = 0; c < 3; ++c) {
            T* samples = planes + c * blockPixels;
            const auto sample = LoadReal(d, samples);
            const auto isLargest = hn::Eq(sample, largest);
            // Beyond these limits the sample is 0 or the largest possible whatever the error.
            const auto x =
                hn::Min(hn::Max(hn::Mul(sample, ratio), hn::Set(d, 0.5)), hn::Set(d, maxSample<T> + 0.5));
            const auto isNear = hn::Lt(hn::Abs(hn::Sub(x, hn::Round(x))), hn::Set(d, nearWhole));
            doubt = hn::Or(doubt, hn::AndNot(isLargest, isNear));
            StoreTruncatedLanes(d, hn::IfThenElse(isLargest, whole, x), samples);
        }
        AddDoubts(d, doubt, firstPixel, doubts);
    }

    /// The fourth band from the three new ones.
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
    bool hasInfrared;
    double infraredWeight;
    bool hasQuick;
    const FixedResults fixed{3}; ///< with 8 bits
};

/// By the operations of the definition; planes from the fifth on stay as they are.
template <class T>
HWY_ATTR void IhsWay<T>::Exact(T* planes, const T* HWY_RESTRICT pan, std::size_t pixels) const {
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
        if (hasInfrared) infrared = hn::Mul(load(3), weight);
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
HWY_ATTR void IhsRow(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    if (bands.msBands > mostBands) return IhsRowScalar(ms, pan, out, pixels, bands);
    FuseBlocks(ms, pan, out, pixels, bands, IhsWay<T>(bands));
}

void IhsRow8(const unsigned char* ms, const unsigned char* pan, unsigned char* out, std::size_t pixels,
             const BandWeights& bands) {
    IhsRow(ms, pan, out, pixels, bands);
}

void IhsRow16(const unsigned short* ms, const unsigned short* pan, unsigned short* out, std::size_t pixels,
              const BandWeights& bands) {
    IhsRow(ms, pan, out, pixels, bands);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

HWY_EXPORT(IhsRow8);
HWY_EXPORT(IhsRow16);

template <>
FuseRow<unsigned char> IhsRowFor(SimdTarget target) {
    return target == 0 ? &IhsRowScalar<unsigned char> : HWY_DISPATCH_TABLE(IhsRow8)[DispatchIndex(target)];
}

template <>
FuseRow<unsigned short> IhsRowFor(SimdTarget target) {
    return target == 0 ? &IhsRowScalar<unsigned short> : HWY_DISPATCH_TABLE(IhsRow16)[DispatchIndex(target)];
}

} // namespace kernels
#endif
