// The sums of the low-pass in vectors of any fixed width, equal to the scalar ones.
#include "kernels/LowPassRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <bit>

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

/// The sums of Vectors vectors of columns from `column` on.
template <std::size_t Vectors>
HWY_INLINE void WeighBlock(const unsigned short* const* rows, const std::uint32_t* weights, std::size_t count,
                           std::size_t column, std::uint32_t* HWY_RESTRICT sums) {
    const hn::ScalableTag<std::uint32_t> d;
    const hn::Rebind<std::uint16_t, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    hn::Vec<decltype(d)> sumsOf[Vectors];
    for (auto& of : sumsOf)
        of = hn::Zero(d);
    for (std::size_t row = 0; row < count; ++row) {
        const unsigned short* samples = rows[row] + column;
        const auto weight = hn::Set(d, weights[row]);
        for (std::size_t vector = 0; vector < Vectors; ++vector)
            sumsOf[vector] = AddProduct(hn::PromoteTo(d, hn::LoadU(narrow, samples + vector * lanes)), weight,
                                        sumsOf[vector]);
    }
    for (std::size_t vector = 0; vector < Vectors; ++vector)
        hn::StoreU(sumsOf[vector], d, sums + column + vector * lanes);
}

#if HWY_TARGET == HWY_SCALAR // never run
WeighRows<unsigned char> WeighRows8() { return &WeighRowsScalar<unsigned char>; }
WeighRows<unsigned short> WeighRows16() { return &WeighRowsScalar<unsigned short>; }
WeighAcross AcrossWeights() { return &WeighAcrossScalar; }
#else
/// The sums of a vector of pixels: `lower` of the first four of every eight pixels, `upper` of the others.
/// Some processors add up a part of them apart.
template <class D, class V = hn::Vec<D>>
struct PairSums {
    V lower, upper, lowerApart, upperApart;

    /// Adds the products of two rows, of 16 bits, with a pair of weights.
    template <class P>
    HWY_INLINE void Add(P first, P second, P weights) {
        const hn::RepartitionToNarrow<D> d;
        lower = hn::ReorderWidenMulAccumulate(D(), hn::InterleaveLower(d, first, second), weights, lower,
                                              lowerApart);
        upper = hn::ReorderWidenMulAccumulate(D(), hn::InterleaveUpper(d, first, second), weights, upper,
                                              upperApart);
    }
    HWY_INLINE void Store(std::uint32_t* HWY_RESTRICT sums) const {
        const D d;
        const hn::RebindToUnsigned<D> dSum;
        const std::size_t lanes = hn::Lanes(d);
        V first = hn::RearrangeToOddPlusEven(lower, lowerApart);
        V second = hn::RearrangeToOddPlusEven(upper, upperApart);
        // Interleaving works within 128 bits, that is, four sums. So bring the fours into the order of the
        // pixels.
        if (lanes > 4) {
            HWY_ALIGN std::int32_t from[hn::MaxLanes(d)];
            for (std::size_t lane = 0; lane < lanes; ++lane)
                from[lane] = static_cast<std::int32_t>(lane / 4 % 2 * (lanes / 2) + lane / 8 * 4 + lane % 4);
            const auto places = hn::SetTableIndices(d, from);
            const V fours = first;
            first = hn::TableLookupLanes(hn::ConcatLowerLower(d, second, fours), places);
            second = hn::TableLookupLanes(hn::ConcatUpperUpper(d, second, fours), places);
        }
        hn::StoreU(hn::BitCast(dSum, first), dSum, sums);
        hn::StoreU(hn::BitCast(dSum, second), dSum, sums + lanes);
    }
};

template <std::size_t Vectors>
HWY_INLINE void WeighBlock(const unsigned char* const* rows, const std::uint32_t* weights, std::size_t count,
                           std::size_t column, std::uint32_t* HWY_RESTRICT sums) {
    const hn::ScalableTag<std::int16_t> d;
    const hn::RepartitionToWide<decltype(d)> dSum;
    const hn::Rebind<std::uint8_t, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    const auto zero = hn::Zero(dSum);
    // Shifts to the even and odd lanes of 16 bits. Setting pairs takes less time than blending two vectors.
    constexpr int even = std::endian::native == std::endian::little ? 0 : 16, odd = 16 - even;
    PairSums<decltype(dSum)> sumsOf[Vectors];
    for (auto& of : sumsOf)
        of = {zero, zero, zero, zero};
    for (std::size_t row = 0; row < count; row += 2) {
        const bool isLast = row + 1 == count;
        const unsigned char* first = rows[row] + column;
        const unsigned char* second = isLast ? first : rows[row + 1] + column;
        const std::uint32_t both = weights[row] << even | (isLast ? 0 : weights[row + 1] << odd);
        const auto pair = hn::BitCast(d, hn::Set(dSum, static_cast<std::int32_t>(both)));
        for (std::size_t vector = 0; vector < Vectors; ++vector)
            sumsOf[vector].Add(hn::PromoteTo(d, hn::LoadU(narrow, first + vector * lanes)),
                               hn::PromoteTo(d, hn::LoadU(narrow, second + vector * lanes)), pair);
    }
    for (std::size_t vector = 0; vector < Vectors; ++vector)
        sumsOf[vector].Store(sums + column + vector * lanes);
}

/// The last block ends with the last column, so it may compute some sums once more.
template <std::size_t Vectors, class T>
HWY_INLINE void WeighInBlocks(const T* const* rows, const std::uint32_t* weights, std::size_t count,
                              std::size_t columns, std::uint32_t* HWY_RESTRICT sums) {
    const std::size_t block = Vectors * hn::Lanes(hn::ScalableTag<hwy::MakeWide<T>>());
    std::size_t i = 0;
    for (; i + block <= columns; i += block)
        WeighBlock<Vectors>(rows, weights, count, i, sums);
    if (i < columns) WeighBlock<Vectors>(rows, weights, count, columns - block, sums);
}

template <class T>
HWY_ATTR void WeighInVectors(const T* const* rows, const std::uint32_t* weights, std::size_t count,
                             std::size_t columns, std::uint32_t* HWY_RESTRICT sums) {
    constexpr std::size_t vectors = 4;
    const std::size_t lanes = hn::Lanes(hn::ScalableTag<hwy::MakeWide<T>>());
    if (columns < lanes)
        WeighRowsScalar(rows, weights, count, columns, sums);
    else if (columns < vectors * lanes)
        WeighInBlocks<1>(rows, weights, count, columns, sums);
    else
        WeighInBlocks<vectors>(rows, weights, count, columns, sums);
}

WeighRows<unsigned char> WeighRows8() { return &WeighInVectors; }
WeighRows<unsigned short> WeighRows16() { return &WeighInVectors; }

using AcrossLane = hn::CappedTag<std::uint64_t, lowPassGroup / 2>;
/// Vectors of weights that stay in registers; a coarse pixel may need more.
constexpr std::size_t mostHeld = 6;

/// The sums of columns from `first` on that have the same weights, of which Held vectors stay in registers.
template <std::size_t Held>
HWY_ATTR void AcrossAlike(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
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
    for (std::size_t i = 0; i < columns; ++i) {
        const LowPassAxis::Taps& taps = across.GetTaps(first + static_cast<std::uint32_t>(i));
        const std::uint32_t* from = down + (std::size_t{taps.first} - downFirst);
        auto sum = hn::MulEven(load(from, 0), held[0]);
        for (std::size_t vector = 1; vector < Held; ++vector)
            sum = hn::Add(sum, hn::MulEven(load(from, vector), held[vector]));
        if constexpr (Held == mostHeld)
            for (std::size_t vector = Held; vector * hn::Lanes(d) < alike.count; ++vector)
                sum = hn::Add(sum, hn::MulEven(load(from, vector), load(weights, vector)));
        sums[i] = hn::GetLane(hn::SumOfLanes(d, sum));
    }
}

/// Across by vectors of coarse pixels: their sums are exact in double, as they stay below 2^44.
using SpreadLane = hn::ScalableTag<double>;
constexpr std::size_t mostSpread = 256; ///< coarse pixels at a time, a multiple of all lanes
constexpr std::size_t mostReach = 32;   ///< columns beyond the last

/// Takes numbers apart: planes[n] gets number n and every Step-th after it, `count` of them, `pitch` apart.
template <std::size_t Step>
HWY_INLINE void TakeEveryStep(const std::uint32_t* HWY_RESTRICT numbers, std::size_t count, std::size_t pitch,
                              double* HWY_RESTRICT planes) {
    const SpreadLane d;
    const hn::Rebind<std::uint32_t, SpreadLane> narrow;
    const hn::Rebind<std::int32_t, SpreadLane> narrowSigned;
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        hn::Vec<decltype(narrow)> of[4];
        const std::uint32_t* from = numbers + i * Step;
        if constexpr (Step == 2)
            hn::LoadInterleaved2(narrow, from, of[0], of[1]);
        else if constexpr (Step == 3)
            hn::LoadInterleaved3(narrow, from, of[0], of[1], of[2]);
        else
            hn::LoadInterleaved4(narrow, from, of[0], of[1], of[2], of[3]);
        for (std::size_t n = 0; n < Step; ++n)
            hn::Store(hn::PromoteTo(d, hn::BitCast(narrowSigned, of[n])), d, planes + n * pitch + i);
    }
}

/// The sums of up to mostSpread of `columns` columns from `first` on, which have the same weights, each Step
/// pixels further on than the one before. Returns how many it computed: whole blocks of vectors, such that
/// what is read beyond their last pixels belongs to the columns that are left. Returns 0 if there are too few
/// columns, or if their taps reach too far.
template <std::size_t Step>
HWY_ATTR std::size_t AcrossSteps(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
                                 const std::uint32_t* HWY_RESTRICT down, std::uint32_t downFirst,
                                 std::uint64_t* HWY_RESTRICT sums) {
    const SpreadLane d;
    const hn::RebindToUnsigned<SpreadLane> dSum;
    constexpr std::size_t vectors = 4;
    const std::size_t lanes = hn::Lanes(d), block = vectors * lanes;
    const LowPassAxis::Taps& taps = across.GetTaps(first);
    // The last taps of a column lie at so many columns further on, rounded up to whole vectors.
    const std::size_t reach = ((taps.count - 1) / Step + lanes - 1) / lanes * lanes;
    if (columns < block + reach || reach > mostReach) return 0;
    const std::size_t count = std::min((columns - reach) / block * block, mostSpread);
    constexpr std::size_t pitch = mostSpread + mostReach;
    HWY_ALIGN double planes[Step * pitch];
    TakeEveryStep<Step>(down + (taps.first - downFirst), count + reach, pitch, planes);
    // Whole numbers below 2^52 and this one add up exactly, and the bits of the sum are the number's.
    const auto unit = hn::Set(d, 4503599627370496.0);
    const std::uint32_t* weights = across.GetWeights(taps);
    for (std::size_t i = 0; i < count; i += block) {
        hn::Vec<SpreadLane> sum[vectors];
        for (auto& of : sum)
            of = unit;
        for (std::size_t tap = 0; tap < taps.count; ++tap) {
            const double* from = planes + tap % Step * pitch + tap / Step + i;
            const auto weight = hn::Set(d, static_cast<double>(weights[tap]));
            for (std::size_t n = 0; n < vectors; ++n)
                sum[n] = hn::MulAdd(hn::LoadU(d, from + n * lanes), weight, sum[n]);
        }
        for (std::size_t n = 0; n < vectors; ++n)
            hn::StoreU(hn::Sub(hn::BitCast(dSum, sum[n]), hn::BitCast(dSum, unit)), dSum,
                       sums + i + n * lanes);
    }
    return count;
}

HWY_ATTR void AcrossInVectors(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
                              const std::uint32_t* HWY_RESTRICT down, std::uint32_t downFirst,
                              std::uint64_t* HWY_RESTRICT sums) {
    constexpr decltype(&AcrossAlike<1>) alike[mostHeld] = {&AcrossAlike<1>, &AcrossAlike<2>, &AcrossAlike<3>,
                                                           &AcrossAlike<4>, &AcrossAlike<5>, &AcrossAlike<6>};
    const std::size_t lanes = hn::Lanes(AcrossLane());
    for (std::size_t i = 0; i < columns;) {
        const std::uint32_t column = first + static_cast<std::uint32_t>(i);
        const LowPassAxis::Taps& taps = across.GetTaps(column);
        const std::size_t left = std::min<std::size_t>(columns - i, taps.alike);
        const std::uint32_t step = left > 1 ? across.GetTaps(column + 1).first - taps.first : 0;
        std::size_t done = 0;
        if (step == 2)
            done = AcrossSteps<2>(across, column, left, down, downFirst, sums + i);
        else if (step == 3)
            done = AcrossSteps<3>(across, column, left, down, downFirst, sums + i);
        else if (step == 4)
            done = AcrossSteps<4>(across, column, left, down, downFirst, sums + i);
        if (done == 0) {
            const std::size_t vectors = (taps.count + lanes - 1) / lanes;
            if (vectors == 0)
                std::fill_n(sums + i, left, std::uint64_t{0});
            else
                alike[std::min(vectors, mostHeld) - 1](across, column, left, down, downFirst, sums + i);
            done = left;
        }
        i += done;
    }
}

WeighAcross AcrossWeights() { return &AcrossInVectors; }
#endif

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
