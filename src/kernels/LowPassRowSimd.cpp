// The sums of the low-pass in vectors of any width, equal to the scalar ones.
#include "kernels/LowPassRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <type_traits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/LowPassRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// 8-bit sums stay below 2^22 and are exact in float, which multiplies faster than whole numbers.
template <class T>
using LowPassLane = std::conditional_t<sizeof(T) == 1, float, std::uint32_t>;

template <class T>
HWY_ATTR void WeighInVectors(const T* const* rows, const std::uint32_t* weights, std::size_t count,
                             std::size_t columns, std::uint32_t* HWY_RESTRICT sums) {
    using Lane = LowPassLane<T>;
    const hn::ScalableTag<Lane> d;
    const hn::RebindToSigned<decltype(d)> dSigned;
    const hn::RebindToUnsigned<decltype(d)> dUnsigned;
    const hn::Rebind<T, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    const auto load = [&](const T* samples) HWY_ATTR {
        if constexpr (sizeof(T) == 1)
            return hn::ConvertTo(d, hn::PromoteTo(dSigned, hn::LoadU(narrow, samples)));
        else
            return hn::PromoteTo(d, hn::LoadU(narrow, samples));
    };
    const auto store = [&](auto sum, std::uint32_t* to) HWY_ATTR {
        if constexpr (sizeof(T) == 1)
            hn::StoreU(hn::BitCast(dUnsigned, hn::ConvertTo(dSigned, sum)), dUnsigned, to);
        else
            hn::StoreU(sum, d, to);
    };
    std::size_t i = 0;
    for (; i + 4 * lanes <= columns; i += 4 * lanes) {
        auto a = hn::Zero(d), b = a, c = a, e = a;
        for (std::size_t row = 0; row < count; ++row) {
            const T* samples = rows[row] + i;
            const auto weight = hn::Set(d, static_cast<Lane>(weights[row]));
            a = AddProduct(load(samples), weight, a);
            b = AddProduct(load(samples + lanes), weight, b);
            c = AddProduct(load(samples + 2 * lanes), weight, c);
            e = AddProduct(load(samples + 3 * lanes), weight, e);
        }
        store(a, sums + i);
        store(b, sums + i + lanes);
        store(c, sums + i + 2 * lanes);
        store(e, sums + i + 3 * lanes);
    }
    for (; i < columns; ++i) {
        std::uint32_t sum = 0;
        for (std::size_t row = 0; row < count; ++row)
            sum += rows[row][i] * weights[row];
        sums[i] = sum;
    }
}

#if HWY_TARGET == HWY_SCALAR // never run
WeighAcross AcrossWeights() { return &WeighAcrossScalar; }
#else
using AcrossLane = hn::CappedTag<std::uint64_t, lowPassGroup / 2>;
/// Vectors of weights that stay in registers; a coarse pixel may need more.
constexpr std::size_t mostHeld = 6;

/// The sums of the columns from `first` on that have the same weights, of which Held vectors stay in
/// registers. Returns how many columns they are.
template <std::size_t Held>
HWY_ATTR std::size_t AcrossAlike(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
                                 const std::uint32_t* HWY_RESTRICT down, std::uint32_t downFirst,
                                 std::uint64_t* HWY_RESTRICT sums) {
    const AcrossLane d;
    const hn::Rebind<std::uint32_t, decltype(d)> narrow;
    const hn::Repartition<std::uint32_t, decltype(d)> halves;
    const auto load = [&](const std::uint32_t* numbers, std::size_t vector) HWY_ATTR {
        return hn::BitCast(halves, hn::PromoteTo(d, hn::LoadU(narrow, numbers + vector * hn::Lanes(d))));
    };
    const LowPassAxis::Taps& alike = across.GetTaps(first);
    const std::uint32_t* weights = across.GetWeights(alike);
    hn::Vec<decltype(halves)> held[Held];
    for (std::size_t vector = 0; vector < Held; ++vector)
        held[vector] = load(weights, vector);
    std::size_t i = 0;
    for (; i < columns; ++i) {
        const LowPassAxis::Taps& taps = across.GetTaps(first + static_cast<std::uint32_t>(i));
        if (taps.weights != alike.weights || taps.count != alike.count) break;
        const std::uint32_t* from = down + (std::size_t{taps.first} - downFirst);
        auto sum = hn::MulEven(load(from, 0), held[0]);
        for (std::size_t vector = 1; vector < Held; ++vector)
            sum = hn::Add(sum, hn::MulEven(load(from, vector), held[vector]));
        if constexpr (Held == mostHeld)
            for (std::size_t vector = Held; vector * hn::Lanes(d) < alike.count; ++vector)
                sum = hn::Add(sum, hn::MulEven(load(from, vector), load(weights, vector)));
        sums[i] = hn::GetLane(hn::SumOfLanes(d, sum));
    }
    return i;
}

HWY_ATTR void AcrossInVectors(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
                              const std::uint32_t* HWY_RESTRICT down, std::uint32_t downFirst,
                              std::uint64_t* HWY_RESTRICT sums) {
    constexpr decltype(&AcrossAlike<1>) alike[mostHeld] = {&AcrossAlike<1>, &AcrossAlike<2>, &AcrossAlike<3>,
                                                           &AcrossAlike<4>, &AcrossAlike<5>, &AcrossAlike<6>};
    const std::size_t lanes = hn::Lanes(AcrossLane());
    for (std::size_t i = 0; i < columns;) {
        const std::uint32_t column = first + static_cast<std::uint32_t>(i);
        const std::size_t vectors = (across.GetTaps(column).count + lanes - 1) / lanes;
        if (vectors == 0)
            sums[i++] = 0;
        else
            i += alike[std::min(vectors, mostHeld) - 1](across, column, columns - i, down, downFirst,
                                                        sums + i);
    }
}

WeighAcross AcrossWeights() { return &AcrossInVectors; }
#endif

WeighRows<unsigned char> WeighRows8() { return &WeighInVectors<unsigned char>; }
WeighRows<unsigned short> WeighRows16() { return &WeighInVectors<unsigned short>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(WeighRows8);
PANSHARP_EXPORT(WeighRows16);
PANSHARP_EXPORT(AcrossWeights);

template <>
WeighRows<unsigned char> WeighRowsFor(SimdTarget target) {
    return ForTarget<WeighRows<unsigned char>>(target, &WeighRowsScalar, HWY_DISPATCH_TABLE(WeighRows8));
}

template <>
WeighRows<unsigned short> WeighRowsFor(SimdTarget target) {
    return ForTarget<WeighRows<unsigned short>>(target, &WeighRowsScalar, HWY_DISPATCH_TABLE(WeighRows16));
}

WeighAcross WeighAcrossFor(SimdTarget target) {
    return ForTarget<WeighAcross>(target, &WeighAcrossScalar, HWY_DISPATCH_TABLE(AcrossWeights));
}

} // namespace kernels
#endif
