// The colour conversions in vectors of any width, with the same bytes as the scalar definitions.
#include "kernels/ConvertRow.h"
#include "kernels/HsiRow.h"
#include "kernels/Simd.h"
#include "kernels/YuvRow.h"

#include <algorithm>
#include <limits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/ConvertRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// Converts the planes of a row's blocks in place, `lanes` pixels at a time.
template <class T, class Convert>
HWY_ATTR void ConvertPlanes(const T* in, T* out, std::size_t pixels, std::size_t lanes,
                            const Convert& convert) {
    const auto block = [&](const std::array<const T*, 1>& inputs, T* outBlock) HWY_ATTR {
        HWY_ALIGN T planes[3 * blockPixels];
        Deinterleave(inputs[0], 3, planes);
        for (std::size_t i = 0; i < blockPixels; i += lanes)
            convert(planes + i, planes + blockPixels + i, planes + 2 * blockPixels + i);
        Interleave(planes, 3, outBlock);
    };
    InBlocks<T>({{in, 3}}, out, 3, pixels, block);
}

/// YUV is computed in whole numbers of twice the sample's width. For 16-bit samples these hold every sum. For
/// 8-bit samples they hold the sums of RGB to YUV (that of Y as an unsigned number), and the sums of YUV to
/// RGB without their multiples of 256, which are added after the shift.
template <class T>
using Wide = std::conditional_t<sizeof(T) == 1, std::int16_t, std::int32_t>;

template <class T>
HWY_ATTR void RgbToYuv(const T* in, T* out, std::size_t pixels) {
    const hn::ScalableTag<Wide<T>> d;
    const hn::RebindToUnsigned<decltype(d)> dUnsigned;
    const hn::Rebind<T, decltype(d)> narrow;
    ConvertPlanes(in, out, pixels, hn::Lanes(d), [&](T* x, T* y, T* z) HWY_ATTR {
        const auto r = hn::PromoteTo(d, hn::LoadU(narrow, x));
        const auto g = hn::PromoteTo(d, hn::LoadU(narrow, y));
        const auto b = hn::PromoteTo(d, hn::LoadU(narrow, z));
        const auto sum = [&](Wide<T> ofR, Wide<T> ofG, Wide<T> ofB) HWY_ATTR {
            const auto products = hn::Add(hn::Add(hn::Mul(r, hn::Set(d, ofR)), hn::Mul(g, hn::Set(d, ofG))),
                                          hn::Mul(b, hn::Set(d, ofB)));
            return hn::Add(products, hn::Set(d, 128));
        };
        const auto luma = hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(dUnsigned, sum(66, 129, 25))));
        hn::StoreU(hn::DemoteTo(narrow, hn::Add(luma, hn::Set(d, 16))), narrow, x);
        const auto u = hn::ShiftRight<8>(sum(-38, -74, 112));
        hn::StoreU(hn::DemoteTo(narrow, hn::Add(u, hn::Set(d, 128))), narrow, y);
        const auto v = hn::ShiftRight<8>(sum(112, -94, -18));
        hn::StoreU(hn::DemoteTo(narrow, hn::Add(v, hn::Set(d, 128))), narrow, z);
    });
}

template <class T>
HWY_ATTR void YuvToRgb(const T* in, T* out, std::size_t pixels) {
    const hn::ScalableTag<Wide<T>> d;
    const hn::Rebind<T, decltype(d)> narrow;
    ConvertPlanes(in, out, pixels, hn::Lanes(d), [&](T* x, T* y, T* z) HWY_ATTR {
        const auto load = [&](const T* samples, Wide<T> least) HWY_ATTR {
            return hn::Sub(hn::PromoteTo(d, hn::LoadU(narrow, samples)), hn::Set(d, least));
        };
        const auto c = load(x, 16);
        const auto u = load(y, 128);
        const auto e = load(z, 128);
        const auto times = [&](auto v, Wide<T> factor) HWY_ATTR { return hn::Mul(v, hn::Set(d, factor)); };
        const auto ofC = hn::Add(times(c, 298 - 256), hn::Set(d, 128));
        const auto store = [&](auto multiples, auto rest, T* samples) HWY_ATTR {
            const auto sample = hn::Add(multiples, hn::ShiftRight<8>(hn::Add(ofC, rest)));
            hn::StoreU(hn::DemoteTo(narrow, sample), narrow, samples); // saturated
        };
        store(hn::Add(c, e), times(e, 409 - 256), x);
        store(hn::Sub(c, e), hn::Sub(times(e, 256 - 208), times(u, 100)), y);
        store(hn::Add(c, hn::Add(u, u)), times(u, 516 - 512), z);
    });
}

/// A rounded fraction is 1 from one half on. The hue is therefore 1 in two cases. Either red is the largest
/// band and green the smallest (magenta to red), or red is not the largest band and blue is. In sixths, the
/// definition gives 5 + x, 3 + x and 5 - x for these, against 1 - x, 1 + x and 3 - x for the others; x lies
/// in [0, 1] and is 0 in the last only when blue is largest too. Saturation and lightness use the operations
/// of the definition.
template <class T>
HWY_ATTR void RgbToHsi(const T* in, T* out, std::size_t pixels) {
    const hn::ScalableTag<double> d;
    ConvertPlanes(in, out, pixels, hn::Lanes(d), [&](T* x, T* y, T* z) HWY_ATTR {
        const auto number = [&](double value) HWY_ATTR { return hn::Set(d, value); };
        const auto r = LoadReal(d, x);
        const auto g = LoadReal(d, y);
        const auto b = LoadReal(d, z);
        const auto most = hn::Max(r, hn::Max(g, b));
        const auto least = hn::Min(r, hn::Min(g, b));
        const auto isColored = hn::Ne(most, least);
        const auto isRed = hn::Eq(r, most);
        const auto isFar = hn::Or(hn::And(isRed, hn::Eq(g, least)), hn::AndNot(isRed, hn::Eq(b, most)));

        const auto largest = hn::Div(most, number(maxSample<T>));
        const auto smallest = hn::Div(least, number(maxSample<T>));
        const auto sum = hn::Add(largest, smallest);
        const auto lightness = hn::Mul(sum, number(0.5));
        const auto isDark = hn::Le(lightness, number(0.5));
        const auto range = hn::Sub(largest, smallest);
        const auto saturation =
            hn::Div(range, hn::IfThenElse(isDark, sum, hn::Sub(hn::Sub(number(2), largest), smallest)));
        const auto roundsUp = [&](auto fraction)
                                  HWY_ATTR { return hn::Ge(hn::Add(fraction, number(0.5)), number(1)); };
        const auto store = [&](auto isOne, T* samples) HWY_ATTR {
            StoreTruncatedLanes(d, hn::IfThenElseZero(isOne, number(1)), samples);
        };
        store(hn::And(isColored, isFar), x);
        store(hn::And(isColored, roundsUp(saturation)), y);
        store(hn::Or(hn::And(isColored, roundsUp(lightness)), hn::Ge(lightness, number(1))), z);
    });
}

/// A sample is a whole hue, so every colour is red or grey. For any H, red is L + S - LS, or L where S is 0,
/// and the other bands are 2 L - red. Values of 1 and above are stored as the largest sample.
template <class T>
HWY_ATTR void HsiToRgb(const T* in, T* out, std::size_t pixels) {
    const hn::ScalableTag<T> d;
    ConvertPlanes(in, out, pixels, hn::Lanes(d), [&](T* x, T* y, T* z) HWY_ATTR {
        const auto one = hn::Set(d, T{1});
        const auto saturation = hn::LoadU(d, y);
        const auto lightness = hn::LoadU(d, z);
        const auto most = hn::Set(d, std::numeric_limits<T>::max());
        const auto others = hn::IfThenElse(hn::Eq(lightness, hn::Zero(d)), hn::Zero(d), most);
        const auto isRed = hn::Or(hn::Eq(hn::Min(saturation, one), saturation), hn::Eq(lightness, one));
        hn::StoreU(hn::IfThenElseZero(isRed, others), d, x);
        hn::StoreU(others, d, y);
        hn::StoreU(others, d, z);
    });
}

template <class T>
ConvertRow<T> Row(Conversion conversion) {
    return ChooseRow<T>(conversion, {&RgbToYuv<T>, &YuvToRgb<T>, &RgbToHsi<T>, &HsiToRgb<T>});
}

ConvertRow<unsigned char> Row8(Conversion conversion) { return Row<unsigned char>(conversion); }
ConvertRow<unsigned short> Row16(Conversion conversion) { return Row<unsigned short>(conversion); }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

namespace {

template <class T>
ConvertRow<T> ScalarRow(Conversion conversion) {
    return ChooseRow<T>(conversion, {&RgbToYuvRow<T>, &YuvToRgbRow<T>, &RgbToHsiRow<T>, &HsiToRgbRow<T>});
}

} // namespace

PANSHARP_EXPORT(Row8);
PANSHARP_EXPORT(Row16);

template <>
ConvertRow<unsigned char> ConvertRowFor(Conversion conversion, SimdTarget target) {
    return ForTarget(target, ScalarRow<unsigned char>(conversion), HWY_DISPATCH_TABLE(Row8), conversion);
}

template <>
ConvertRow<unsigned short> ConvertRowFor(Conversion conversion, SimdTarget target) {
    return ForTarget(target, ScalarRow<unsigned short>(conversion), HWY_DISPATCH_TABLE(Row16), conversion);
}

} // namespace kernels
#endif
