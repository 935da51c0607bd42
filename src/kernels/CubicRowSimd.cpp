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

template <class T, class V, bool areEven>
HWY_ATTR std::size_t CubicAcrossByPlan(const AcrossPlan<V>& plan, const V* HWY_RESTRICT row,
                                       std::uint32_t scale, std::size_t samples, T* HWY_RESTRICT out,
                                       std::uint32_t* HWY_RESTRICT uncertain) {
    const hn::ScalableTag<V> d;
    const hn::Rebind<T, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    constexpr bool isWhole = std::is_same_v<V, std::int32_t>;
    const WholeScale<areEven> wholeScale(scale);
    const auto half = hn::Set(d, isWhole ? static_cast<V>(wholeScale.Half()) : static_cast<V>(0.5));
    const hn::Rebind<typename AcrossPlan<V>::Lane, decltype(d)> dLane;
    const std::size_t bands = plan.bands, patterns = plan.lookups.size() / lanes;
    const std::span vectors = plan.vectors;
    std::size_t count = 0;
    HWY_ALIGN T rest[HWY_MAX_BYTES / sizeof(V)];
    for (std::size_t pattern = 0; pattern < patterns; ++pattern) {
        const auto* places = plan.lookups.data() + pattern * lanes;
        const V* weights = plan.weights.data() + 4 * pattern * lanes;
        const auto ofA = hn::LoadU(d, weights), ofB = hn::LoadU(d, weights + lanes);
        const auto ofC = hn::LoadU(d, weights + 2 * lanes), ofD = hn::LoadU(d, weights + 3 * lanes);
        // Taps that all lie in one vector of the source are looked up in it, else each `apart` further on.
        const auto interpolate = [&](auto apart) HWY_ATTR {
            const auto lookup = [&](std::size_t tap) HWY_ATTR {
                const auto further = static_cast<typename AcrossPlan<V>::Lane>(tap * (bands - apart));
                return hn::IndicesFromVec(d, hn::Add(hn::LoadU(dLane, places), hn::Set(dLane, further)));
            };
            const auto inA = lookup(0), inB = lookup(1), inC = lookup(2), inD = lookup(3);
            for (std::size_t i = pattern; i < vectors.size(); i += patterns) {
                const V* source = row + vectors[i].source;
                const auto tap = [&](std::size_t number, const auto& in) HWY_ATTR {
                    return hn::TableLookupLanes(hn::LoadU(d, source + number * apart), in);
                };
                const auto left = AddProduct(tap(1, inB), ofB, AddProduct(tap(0, inA), ofA, half));
                const auto sum = AddProduct(tap(3, inD), ofD, AddProduct(tap(2, inC), ofC, left));
                const std::size_t at = vectors[i].out, stored = std::min(lanes, samples - at);
                T* to = stored == lanes ? out + at : rest;
                if constexpr (isWhole) {
                    hn::StoreU(hn::DemoteTo(narrow, wholeScale.Divide(d, sum)), narrow, to);
                } else if constexpr (areEven && std::is_same_v<V, double>) { // exact
                    StoreTruncatedLanes(d, sum, to);
                } else {
                    const auto isUncertain = StoreUncertain(d, sum, to);
                    if (!hn::AllFalse(d, isUncertain))
                        count = Mark(d, isUncertain, at, stored, count, uncertain);
                }
                if (stored != lanes) std::copy_n(rest, stored, out + at);
            }
        };
        if (static_cast<std::size_t>(*std::max_element(places, places + lanes)) + 3 * bands < lanes)
            interpolate(std::integral_constant<std::size_t, 0>());
        else
            interpolate(bands);
    }
    return count;
}

template <class T, class V>
CubicKernels<T, V> Cubic(bool areEven) {
    return {static_cast<std::uint32_t>(hn::Lanes(hn::ScalableTag<V>())), &CubicDownSource<T, V>,
            areEven ? &CubicAcrossByPlan<T, V, true> : &CubicAcrossByPlan<T, V, false>};
}

CubicKernels<unsigned char, std::int32_t> CubicWhole8(bool areEven) {
    return Cubic<unsigned char, std::int32_t>(areEven);
}
CubicKernels<unsigned short, std::int32_t> CubicWhole16(bool areEven) {
    return Cubic<unsigned short, std::int32_t>(areEven);
}
CubicKernels<unsigned char, float> CubicReal8(bool areEven) { return Cubic<unsigned char, float>(areEven); }
CubicKernels<unsigned short, double> CubicReal16(bool areEven) {
    return Cubic<unsigned short, double>(areEven);
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
CubicKernels<unsigned char, std::int32_t> CubicKernelsFor(SimdTarget target, bool areEven) {
    return ForTarget(target, CubicKernels<unsigned char, std::int32_t>(), HWY_DISPATCH_TABLE(CubicWhole8),
                     areEven);
}

template <>
CubicKernels<unsigned short, std::int32_t> CubicKernelsFor(SimdTarget target, bool areEven) {
    return ForTarget(target, CubicKernels<unsigned short, std::int32_t>(), HWY_DISPATCH_TABLE(CubicWhole16),
                     areEven);
}

template <>
CubicKernels<unsigned char, float> CubicKernelsFor(SimdTarget target, bool areEven) {
    return ForTarget(target, CubicKernels<unsigned char, float>(), HWY_DISPATCH_TABLE(CubicReal8), areEven);
}

template <>
CubicKernels<unsigned short, double> CubicKernelsFor(SimdTarget target, bool areEven) {
    return ForTarget(target, CubicKernels<unsigned short, double>(), HWY_DISPATCH_TABLE(CubicReal16),
                     areEven);
}

} // namespace kernels
#endif
