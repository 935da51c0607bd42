// IHS in vectors of whatever width the processor has; the same bytes as the scalar definition.
#include "kernels/IhsRow.h"
#include "kernels/Simd.h"
#include "kernels/Store.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/IhsRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Planes-inl.h"

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

/// x within the pixel range, not truncated yet; not-a-number gives 0.
template <class T, class D, class V = hn::Vec<D>>
HWY_INLINE V Clamp(D d, V x) {
    return hn::Min(hn::IfThenElseZero(hn::Ge(x, hn::Zero(d)), x), hn::Set(d, maxSample<T>));
}

/// Fuses a block of planes in place; planes from the fifth on stay as they are.
template <class T>
HWY_ATTR void IhsBlock(T* planes, const T* HWY_RESTRICT pan, const BandWeights& bands) {
    const hn::ScalableTag<double> d;
    using V = hn::Vec<decltype(d)>;
    const V unit = hn::Set(d, 1.0 / maxSample<T>);
    const V most = hn::Set(d, maxSample<T>);
    const bool hasInfrared = bands.msBands > 3;
    const V weight = hn::Set(d, hasInfrared ? bands.weights[3] / maxSample<T> : 0.0);
    for (std::size_t i = 0; i < blockPixels; i += hn::Lanes(d)) {
        const auto plane = [&](std::uint32_t band) { return planes + band * blockPixels + i; };
        const auto load = [&](std::uint32_t band) HWY_ATTR { return LoadAsDouble(d, plane(band)); };
        const V panSample = LoadAsDouble(d, pan + i);
        V infrared = hn::Zero(d);
        if (hasInfrared) infrared = hn::Mul(load(3), weight);
        V value = hn::Sub(hn::Mul(panSample, unit), infrared);
        value = hn::IfThenElseZero(hn::Gt(value, hn::Zero(d)), value);
        const Triple<V> rgb = ReplaceValue(
            d, Triple<V>{hn::Mul(load(0), unit), hn::Mul(load(1), unit), hn::Mul(load(2), unit)}, value);
        StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(rgb.r, most)), plane(0));
        StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(rgb.g, most)), plane(1));
        StoreTruncatedLanes(d, Clamp<T>(d, hn::Mul(rgb.b, most)), plane(2));
        if (bands.outputBands > 3) {
            const V sum = hn::Add(hn::Add(load(0), load(1)), load(2)); // of whole numbers, exact in any order
            const V fourth = hn::Add(hn::Sub(panSample, hn::Div(sum, hn::Set(d, 3.0))), infrared);
            StoreTruncatedLanes(d, Clamp<T>(d, fourth), plane(3));
        }
    }
}

template <class T>
HWY_ATTR void IhsRow(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    if (bands.msBands > mostBands) return IhsRowScalar(ms, pan, out, pixels, bands);
    FuseBlocks(ms, pan, out, pixels, bands,
               [&](T* planes, const T* panBlock) HWY_ATTR { IhsBlock(planes, panBlock, bands); });
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
