// Cubic convolution in vectors of any width, down and then across. The samples equal those of the definition,
// except for those marked as uncertain.
#include "kernels/CubicRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <bit>
#include <span>
#include <type_traits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/CubicRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// Loads one sample per lane and converts it to the vector's type.
template <class D, class T>
HWY_INLINE hn::Vec<D> LoadSamples(D d, const T* samples) {
    if constexpr (std::is_same_v<hn::TFromD<D>, std::int32_t>)
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, D>(), samples));
    else
        return LoadReal(d, samples);
}

template <class T, class V>
HWY_ATTR void CubicDownSource(const std::array<const T*, 4>& rows, const std::array<V, 4>& weights,
                              std::size_t samples, V* HWY_RESTRICT out) {
    const hn::ScalableTag<V> d;
    const auto ofA = hn::Set(d, weights[0]), ofB = hn::Set(d, weights[1]);
    const auto ofC = hn::Set(d, weights[2]), ofD = hn::Set(d, weights[3]);
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= samples; i += hn::Lanes(d)) {
        const auto load = [&](std::size_t row) HWY_ATTR { return LoadSamples(d, rows[row] + i); };
        const auto upper = AddProduct(load(1), ofB, hn::Mul(load(0), ofA));
        hn::StoreU(AddProduct(load(3), ofD, AddProduct(load(2), ofC, upper)), d, out + i);
    }
    for (; i < samples; ++i)
        out[i] = static_cast<V>(rows[0][i]) * weights[0] + static_cast<V>(rows[1][i]) * weights[1] +
                 static_cast<V>(rows[2][i]) * weights[2] + static_cast<V>(rows[3][i]) * weights[3];
}

/// Divides sums by `scale`, rounding down; less than 0 may become anything up to 0.
///
/// If it is odd, the factor is too small by 2^-21. That is more than the rounding of the factor, of the sum
/// and of their product, so the quotient is never too large; up to 1.25^2 * 2^16 it is too small by at
/// most 1.
template <bool isEven>
class WholeScale {
public:
    explicit WholeScale(std::uint32_t scale)
        : divisor(static_cast<std::int32_t>(scale)), bits(std::countr_zero(scale)),
          factor((1.0f - 1.0f / (1 << 21)) / static_cast<float>(scale)) {}

    [[nodiscard]] std::int32_t Half() const { return divisor / 2; }

    template <class D>
    HWY_INLINE hn::Vec<D> Divide(D d, hn::Vec<D> sum) const {
        if constexpr (isEven) return hn::ShiftRightSame(sum, bits);
        const hn::Rebind<float, D> dReal;
        const auto dividend = hn::Max(sum, hn::Zero(d));
        const auto low = hn::ConvertTo(d, hn::Mul(hn::ConvertTo(dReal, dividend), hn::Set(dReal, factor)));
        const auto rest = hn::Sub(dividend, hn::Mul(low, hn::Set(d, divisor)));
        return hn::Sub(low, hn::VecFromMask(d, hn::Gt(rest, hn::Set(d, divisor - 1)))); // true is -1
    }

private:
    std::int32_t divisor;
    int bits;
    float factor;
};

/// For sums that are split, each number N of a row is split into two of 16 bits, N = 2^15 * high + low with
/// 0 <= low < 2^15, and these are weighted apart:
///
///     (2^15 * highSum + lowSum + 2^25) >> 26 = (highSum + (lowSum >> 15) + 2^10) >> 11
///
/// The weights of a direction add up to 2^13, their magnitudes to at most 1.25 * 2^13. So N is less than
/// 1.25 * 2^13 * 2^16 < 2^30, and either sum is less than 1.25 * 2^13 * 2^15 < 2^29.
constexpr int lowBits = 15;
constexpr std::uint32_t highScale = splitCubicScale * splitCubicScale >> lowBits;
static_assert(highScale == 1 << 11 && *std::max_element(wholeSteps.begin(), wholeSteps.end()) == 16);

/// The lower 16 bits of two numbers in one, those of `a` first.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V Pair(D d, V a, V b) {
    return hn::Or(hn::And(a, hn::Set(d, 0xFFFF)), hn::ShiftLeft<16>(b));
}

/// Makes pairs for two taps, of the parts of every number and of that one pixel further. Pairs of the high
/// parts replace the numbers; those of the low parts, which are returned, follow the row.
HWY_ATTR const std::int32_t* SplitIntoPairs(const AcrossPlan<std::int32_t>& plan, std::int32_t* row) {
    const hn::ScalableTag<std::int32_t> d;
    const std::size_t bands = plan.bands, numbers = plan.pixels * bands;
    std::int32_t* low = row + numbers + plan.lanes;
    const auto mask = hn::Set(d, (1 << lowBits) - 1);
    for (std::size_t i = 0; i + bands < numbers; i += hn::Lanes(d)) {
        const auto a = hn::LoadU(d, row + i), b = hn::LoadU(d, row + i + bands);
        hn::StoreU(Pair(d, hn::ShiftRight<lowBits>(a), hn::ShiftRight<lowBits>(b)), d, row + i);
        hn::StoreU(Pair(d, hn::And(a, mask), hn::And(b, mask)), d, low + i);
    }
    return low;
}

/// Adds the products of numbers, or both products of signed pairs.
template <bool arePairs, class V>
HWY_INLINE V AddProducts(V a, V b, V sum) {
#if HWY_TARGET != HWY_SCALAR // which never runs
    if constexpr (arePairs) {
        const hn::DFromV<V> d;
        const hn::RepartitionToNarrow<hn::DFromV<V>> dPart;
        auto apart = hn::Zero(d); // some processors add up a part of the products here
        const auto products = hn::ReorderWidenMulAccumulate(d, hn::BitCast(dPart, a), hn::BitCast(dPart, b),
                                                            hn::Zero(d), apart);
        return hn::Add(sum, hn::RearrangeToOddPlusEven(products, apart));
    }
#endif
    return AddProduct(a, b, sum);
}

/// Stores real sums, with the half added, as samples. True in lanes that lie closer to a whole number than
/// their error: there the definition may round differently.
template <class D, class T>
HWY_INLINE hn::Mask<D> StoreUncertain(D d, hn::Vec<D> sum, T* out) {
    using V = hn::TFromD<D>;
    const hn::Rebind<T, D> narrow;
    // Anything further out certainly becomes the end of the range.
    const auto inRange = hn::Min(hn::Max(sum, hn::Set(d, V{0.5})), hn::Set(d, V{maxSample<T>} + V{0.5}));
    hn::Vec<D> part;
    if constexpr (sizeof(V) == 4) {
        const auto whole = hn::ConvertTo(hn::Rebind<std::int32_t, D>(), inRange);
        hn::StoreU(hn::DemoteTo(narrow, whole), narrow, out);
        part = hn::Sub(inRange, hn::ConvertTo(d, whole));
    } else {
        const auto whole = hn::DemoteTo(hn::Rebind<std::int32_t, D>(), inRange);
        hn::StoreU(hn::DemoteTo(narrow, whole), narrow, out);
        part = hn::Sub(inRange, hn::PromoteTo(d, whole));
    }
    constexpr V error{cubicError<V>};
    return hn::Or(hn::Lt(part, hn::Set(d, error)), hn::Gt(part, hn::Set(d, V{1} - error)));
}

template <class T, class V, CubicSums sums>
HWY_ATTR std::size_t CubicAcrossByPlan(const AcrossPlan<V>& plan, V* HWY_RESTRICT row, std::uint32_t scale,
                                       std::size_t samples, T* HWY_RESTRICT out,
                                       std::uint32_t* HWY_RESTRICT uncertain) {
    const hn::ScalableTag<V> d;
    const hn::Rebind<T, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    constexpr bool isWhole = sums != CubicSums::Real, isSplit = sums == CubicSums::Split;
    const WholeScale<isSplit || sums == CubicSums::Even> wholeScale(isSplit ? highScale : scale);
    const auto half = hn::Set(d, isWhole ? static_cast<V>(wholeScale.Half()) : static_cast<V>(0.5));
    const hn::Rebind<typename AcrossPlan<V>::Lane, decltype(d)> dLane;
    const std::size_t bands = plan.bands, patterns = plan.lookups.size() / lanes;
    const std::span vectors = plan.vectors;
    std::size_t count = 0;
    HWY_ALIGN T rest[HWY_MAX_BYTES / sizeof(V)];
    [[maybe_unused]] const V* low = nullptr;
    if constexpr (isSplit) low = SplitIntoPairs(plan, row);
    constexpr std::size_t lookups = isSplit ? 2 : 4; // of a pair of taps each, or of one
    const std::size_t step = 4 / lookups * bands;
    for (std::size_t pattern = 0; pattern < patterns; ++pattern) {
        const auto* places = plan.lookups.data() + pattern * lanes;
        const auto weight = [&](std::size_t tap) HWY_ATTR {
            return hn::LoadU(d, plan.weights.data() + (4 * pattern + tap) * lanes);
        };
        hn::Vec<decltype(d)> weights[lookups];
        for (std::size_t i = 0; i < lookups; ++i)
            if constexpr (isSplit)
                weights[i] = Pair(d, weight(2 * i), weight(2 * i + 1));
            else
                weights[i] = weight(i);
        // Taps that all lie in one vector of the source are looked up in it, else each `apart` further on.
        const auto interpolate = [&](auto apart) HWY_ATTR {
            decltype(hn::IndicesFromVec(d, hn::Zero(dLane))) in[lookups];
            for (std::size_t i = 0; i < lookups; ++i) {
                const auto further = static_cast<typename AcrossPlan<V>::Lane>(i * (step - apart));
                in[i] = hn::IndicesFromVec(d, hn::Add(hn::LoadU(dLane, places), hn::Set(dLane, further)));
            }
            for (std::size_t v = pattern; v < vectors.size(); v += patterns) {
                const auto add = [&](const V* source, auto sum) HWY_ATTR {
                    for (std::size_t i = 0; i < lookups; ++i) {
                        const auto found = hn::TableLookupLanes(hn::LoadU(d, source + i * apart), in[i]);
                        sum = AddProducts<isSplit>(found, weights[i], sum);
                    }
                    return sum;
                };
                auto sum = half;
                if constexpr (isSplit)
                    sum = hn::Add(sum, hn::ShiftRight<lowBits>(add(low + vectors[v].source, hn::Zero(d))));
                sum = add(row + vectors[v].source, sum);
                const std::size_t at = vectors[v].out, stored = std::min(lanes, samples - at);
                T* to = stored == lanes ? out + at : rest;
                if constexpr (isWhole) {
                    hn::StoreU(hn::DemoteTo(narrow, wholeScale.Divide(d, sum)), narrow, to);
                } else {
                    const auto isUncertain = StoreUncertain(d, sum, to);
                    if (!hn::AllFalse(d, isUncertain))
                        count = Mark(d, isUncertain, at, stored, count, uncertain);
                }
                if (stored != lanes) std::copy_n(rest, stored, out + at);
            }
        };
        const auto last = static_cast<std::size_t>(*std::max_element(places, places + lanes));
        if (last + (lookups - 1) * step < lanes)
            interpolate(std::integral_constant<std::size_t, 0>());
        else
            interpolate(step);
    }
    return count;
}

template <class T, class V, CubicSums sums>
CubicKernels<T, V> Cubic() {
    return {static_cast<std::uint32_t>(hn::Lanes(hn::ScalableTag<V>())), &CubicDownSource<T, V>,
            &CubicAcrossByPlan<T, V, sums>, sums == CubicSums::Split ? 2 : 1};
}

template <class T>
CubicKernels<T, std::int32_t> CubicWhole(CubicSums sums) {
    if (sums == CubicSums::Odd) return Cubic<T, std::int32_t, CubicSums::Odd>();
    if (sums == CubicSums::Even) return Cubic<T, std::int32_t, CubicSums::Even>();
    return Cubic<T, std::int32_t, CubicSums::Split>();
}

CubicKernels<unsigned char, std::int32_t> CubicWhole8(CubicSums sums) {
    return CubicWhole<unsigned char>(sums);
}
CubicKernels<unsigned short, std::int32_t> CubicWhole16(CubicSums sums) {
    return CubicWhole<unsigned short>(sums);
}
CubicKernels<unsigned char, float> CubicReal8() { return Cubic<unsigned char, float, CubicSums::Real>(); }
CubicKernels<unsigned short, double> CubicReal16() {
    return Cubic<unsigned short, double, CubicSums::Real>();
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(CubicWhole8);
PANSHARP_EXPORT(CubicWhole16);
PANSHARP_EXPORT(CubicReal8);
PANSHARP_EXPORT(CubicReal16);

template <>
CubicKernels<unsigned char, std::int32_t> CubicKernelsFor(SimdTarget target, CubicSums sums) {
    return ForTarget(target, CubicKernels<unsigned char, std::int32_t>(), HWY_DISPATCH_TABLE(CubicWhole8),
                     sums);
}

template <>
CubicKernels<unsigned short, std::int32_t> CubicKernelsFor(SimdTarget target, CubicSums sums) {
    return ForTarget(target, CubicKernels<unsigned short, std::int32_t>(), HWY_DISPATCH_TABLE(CubicWhole16),
                     sums);
}

template <>
CubicKernels<unsigned char, float> CubicKernelsFor(SimdTarget target, CubicSums /*sums*/) {
    return ForTarget(target, CubicKernels<unsigned char, float>(), HWY_DISPATCH_TABLE(CubicReal8));
}

template <>
CubicKernels<unsigned short, double> CubicKernelsFor(SimdTarget target, CubicSums /*sums*/) {
    return ForTarget(target, CubicKernels<unsigned short, double>(), HWY_DISPATCH_TABLE(CubicReal16));
}

} // namespace kernels
#endif
