// The sums of the low-pass in vectors of any width, equal to the scalar ones.
#include "kernels/LowPassRow.h"
#include "kernels/Simd.h"

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
HWY_ATTR void AcrossInVectors(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
                              const std::uint32_t* HWY_RESTRICT down, std::uint32_t downFirst,
                              std::uint64_t* HWY_RESTRICT sums) {
    const hn::CappedTag<std::uint32_t, lowPassGroup> d;
    const hn::RepartitionToWide<decltype(d)> dWide;
    const auto multiplyOdd = [&](auto a, auto b) HWY_ATTR {
        return hn::MulEven(hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(dWide, a))),
                           hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(dWide, b))));
    };
    for (std::size_t i = 0; i < columns; ++i) {
        const LowPassAxis::Taps& taps = across.GetTaps(first + static_cast<std::uint32_t>(i));
        const std::uint32_t* weights = across.GetWeights(taps);
        const std::size_t start = std::size_t{taps.first} - downFirst;
        auto even = hn::Zero(dWide), odd = even;
        for (std::size_t tap = 0; tap < taps.count; tap += hn::Lanes(d)) {
            const auto sum = hn::LoadU(d, down + start + tap);
            const auto weight = hn::LoadU(d, weights + tap);
            even = hn::Add(even, hn::MulEven(sum, weight));
            odd = hn::Add(odd, multiplyOdd(sum, weight));
        }
        sums[i] = hn::GetLane(hn::SumOfLanes(dWide, hn::Add(even, odd)));
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
