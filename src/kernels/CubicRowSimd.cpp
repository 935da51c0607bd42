// Both passes of cubic convolution in vectors of whatever width the processor has; the same samples as the
// scalar ones.
#include "kernels/CubicRow.h"
#include "kernels/Simd.h"

#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/CubicRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// Four products, added from the left.
template <class V>
HWY_INLINE V CubicSum(V a, V b, V c, V d, V ofA, V ofB, V ofC, V ofD) {
    return hn::Add(hn::Add(hn::Add(hn::Mul(a, ofA), hn::Mul(b, ofB)), hn::Mul(c, ofC)), hn::Mul(d, ofD));
}

template <class V>
HWY_ATTR void CubicAcrossGroups(const V* HWY_RESTRICT source, const SpreadCubicTap<V>* HWY_RESTRICT taps,
                                std::size_t pixels, std::uint32_t bands, V* HWY_RESTRICT out) {
    const hn::CappedTag<V, cubicGroup> d;
    for (std::size_t p = 0; p < pixels; ++p, out += bands) {
        const std::array<std::uint32_t, 4>& at = taps[p].at;
        const std::array<V, 4>& weights = taps[p].weights;
        const auto ofA = hn::Set(d, weights[0]), ofB = hn::Set(d, weights[1]);
        const auto ofC = hn::Set(d, weights[2]), ofD = hn::Set(d, weights[3]);
        for (std::uint32_t band = 0; band < bands; band += static_cast<std::uint32_t>(hn::Lanes(d))) {
            const auto load = [&](std::size_t i) HWY_ATTR { return hn::LoadU(d, source + at[i] + band); };
            hn::StoreU(CubicSum(load(0), load(1), load(2), load(3), ofA, ofB, ofC, ofD), d, out + band);
        }
    }
}

/// Rows of doubles, or of whole numbers in doubles: these hold all products and sums exactly, so that any
/// order and a fused multiply-add give the same. What lies beyond the range of T goes to its ends when lanes
/// become narrower.
template <class T, class V>
HWY_ATTR void CubicDownInDouble(const std::array<const V*, 4>& rows, const std::array<V, 4>& weights,
                                std::size_t samples, T* HWY_RESTRICT out) {
    constexpr bool isWhole = !std::is_same_v<V, double>;
    const hn::ScalableTag<double> d;
    const hn::Rebind<V, decltype(d)> dRow;
    constexpr double step = isWhole ? 1.0 / (1 << (2 * cubicStepBits)) : 1.0;
    const auto of = [&](std::size_t i) HWY_ATTR { return hn::Set(d, weights[i] * step); };
    const auto ofA = of(0), ofB = of(1), ofC = of(2), ofD = of(3), half = hn::Set(d, 0.5);
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= samples; i += hn::Lanes(d)) {
        const auto load = [&](std::size_t row) HWY_ATTR {
            if constexpr (isWhole)
                return hn::PromoteTo(d, hn::LoadU(dRow, rows[row] + i));
            else
                return hn::LoadU(d, rows[row] + i);
        };
        if constexpr (isWhole) {
            const auto first = hn::MulAdd(load(1), ofB, hn::MulAdd(load(0), ofA, half));
            StoreTruncatedLanes(d, hn::MulAdd(load(3), ofD, hn::MulAdd(load(2), ofC, first)), out + i);
        } else {
            const auto sum = CubicSum(load(0), load(1), load(2), load(3), ofA, ofB, ofC, ofD);
            StoreTruncatedLanes(d, hn::Add(sum, half), out + i);
        }
    }
    CubicDown<T, V>({rows[0] + i, rows[1] + i, rows[2] + i, rows[3] + i}, weights, samples - i, out + i);
}

/// Sums of 8-bit samples stay below 2^29.
HWY_ATTR void CubicDownInWhole(const std::array<const std::int32_t*, 4>& rows,
                               const std::array<std::int32_t, 4>& weights, std::size_t samples,
                               unsigned char* HWY_RESTRICT out) {
    const hn::ScalableTag<std::int32_t> d;
    const hn::Rebind<unsigned char, decltype(d)> narrow;
    const auto of = [&](std::size_t i) HWY_ATTR { return hn::Set(d, weights[i]); };
    const auto ofA = of(0), ofB = of(1), ofC = of(2), ofD = of(3);
    constexpr int bits = 2 * cubicStepBits;
    const auto half = hn::Set(d, std::int32_t{1} << (bits - 1));
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= samples; i += hn::Lanes(d)) {
        const auto load = [&](std::size_t row) HWY_ATTR { return hn::LoadU(d, rows[row] + i); };
        const auto sum = CubicSum(load(0), load(1), load(2), load(3), ofA, ofB, ofC, ofD);
        hn::StoreU(hn::DemoteTo(narrow, hn::ShiftRight<bits>(hn::Add(sum, half))), narrow, out + i);
    }
    CubicDown<unsigned char, std::int32_t>({rows[0] + i, rows[1] + i, rows[2] + i, rows[3] + i}, weights,
                                           samples - i, out + i);
}

using Whole = std::int32_t;
CubicAcrossRow<double> CubicAcrossDouble() { return &CubicAcrossGroups<double>; }
CubicAcrossRow<Whole> CubicAcrossWhole() { return &CubicAcrossGroups<Whole>; }
CubicDownRow<unsigned char, double> CubicDown8() { return &CubicDownInDouble<unsigned char, double>; }
CubicDownRow<unsigned short, double> CubicDown16() { return &CubicDownInDouble<unsigned short, double>; }
CubicDownRow<unsigned char, Whole> CubicDownWhole8() { return &CubicDownInWhole; }
CubicDownRow<unsigned short, Whole> CubicDownWhole16() { return &CubicDownInDouble<unsigned short, Whole>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

HWY_EXPORT(CubicAcrossDouble);
HWY_EXPORT(CubicAcrossWhole);
HWY_EXPORT(CubicDown8);
HWY_EXPORT(CubicDown16);
HWY_EXPORT(CubicDownWhole8);
HWY_EXPORT(CubicDownWhole16);

template <>
CubicAcrossRow<double> CubicAcrossRowFor(SimdTarget target) {
    return ForTarget<CubicAcrossRow<double>>(target, &CubicAcrossRowScalar<double>,
                                             HWY_DISPATCH_TABLE(CubicAcrossDouble));
}

template <>
CubicAcrossRow<std::int32_t> CubicAcrossRowFor(SimdTarget target) {
    return ForTarget<CubicAcrossRow<std::int32_t>>(target, &CubicAcrossRowScalar<std::int32_t>,
                                                   HWY_DISPATCH_TABLE(CubicAcrossWhole));
}

template <>
CubicDownRow<unsigned char, double> CubicDownRowFor(SimdTarget target) {
    return ForTarget<CubicDownRow<unsigned char, double>>(target, &CubicDown<unsigned char, double>,
                                                          HWY_DISPATCH_TABLE(CubicDown8));
}

template <>
CubicDownRow<unsigned short, double> CubicDownRowFor(SimdTarget target) {
    return ForTarget<CubicDownRow<unsigned short, double>>(target, &CubicDown<unsigned short, double>,
                                                           HWY_DISPATCH_TABLE(CubicDown16));
}

template <>
CubicDownRow<unsigned char, std::int32_t> CubicDownRowFor(SimdTarget target) {
    return ForTarget<CubicDownRow<unsigned char, std::int32_t>>(
        target, &CubicDown<unsigned char, std::int32_t>, HWY_DISPATCH_TABLE(CubicDownWhole8));
}

template <>
CubicDownRow<unsigned short, std::int32_t> CubicDownRowFor(SimdTarget target) {
    return ForTarget<CubicDownRow<unsigned short, std::int32_t>>(
        target, &CubicDown<unsigned short, std::int32_t>, HWY_DISPATCH_TABLE(CubicDownWhole16));
}

} // namespace kernels
#endif
