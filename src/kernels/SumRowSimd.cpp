// Sums in vectors of up to eight numbers, by the same operations in the same order as the scalar ones.
#include "kernels/Angle.h"
#include "kernels/Simd.h"
#include "kernels/SumRow.h"

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/SumRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

HWY_ATTR void SumWeightedInVectors(const unsigned short* const* rows, const double* weights,
                                   std::size_t rowCount, std::size_t length, double* sums) {
    const hn::CappedTag<double, sumParts> d;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t i = 0;
    // Four independent sums at a time, so that none waits for another.
    for (; i + 4 * lanes <= length; i += 4 * lanes) {
        auto a = hn::Zero(d), b = a, c = a, e = a;
        for (std::size_t row = 0; row < rowCount; ++row) {
            const auto weight = hn::Set(d, weights[row]);
            const unsigned short* samples = rows[row] + i;
            a = hn::Add(a, hn::Mul(weight, LoadReal(d, samples)));
            b = hn::Add(b, hn::Mul(weight, LoadReal(d, samples + lanes)));
            c = hn::Add(c, hn::Mul(weight, LoadReal(d, samples + 2 * lanes)));
            e = hn::Add(e, hn::Mul(weight, LoadReal(d, samples + 3 * lanes)));
        }
        hn::StoreU(a, d, sums + i);
        hn::StoreU(b, d, sums + i + lanes);
        hn::StoreU(c, d, sums + i + 2 * lanes);
        hn::StoreU(e, d, sums + i + 3 * lanes);
    }
    for (; i < length; ++i) {
        sums[i] = 0.0;
        for (std::size_t row = 0; row < rowCount; ++row)
            sums[i] += weights[row] * rows[row][i];
    }
}

HWY_ATTR void AddProductsInVectors(const double* rows, std::size_t length,
                                   const std::pair<std::size_t, std::size_t>* pairs, std::size_t pairCount,
                                   double* parts) {
    const hn::CappedTag<double, sumParts> d;
    for (std::size_t pair = 0; pair < pairCount; ++pair, parts += sumParts) {
        const double* a = rows + pairs[pair].first * length;
        const double* b = rows + pairs[pair].second * length;
        for (std::size_t part = 0; part < sumParts; part += hn::Lanes(d)) {
            auto sum = hn::LoadU(d, parts + part);
            for (std::size_t i = part; i < length; i += sumParts)
                sum = hn::Add(sum, hn::Mul(hn::LoadU(d, a + i), hn::LoadU(d, b + i)));
            hn::StoreU(sum, d, parts + part);
        }
    }
}

HWY_ATTR void SpreadPixelsInVectors(const unsigned short* pixels, std::size_t bands, std::size_t count,
                                    unsigned short* planes) {
    static_assert(spreadPixels == blockPixels);
    if (count == spreadPixels && bands <= mostBands)
        Deinterleave(pixels, static_cast<std::uint32_t>(bands), planes);
    else
        SpreadPixelsScalar(pixels, bands, count, planes);
}

HWY_ATTR bool LessOriginsInVectors(const unsigned short* planes, const unsigned short* origins,
                                   std::size_t rows, std::size_t count, short* differences) {
    if (count < wholeRow) return LessOriginsScalar(planes, origins, rows, count, differences);
    const hn::CappedTag<unsigned short, wholeRow> d;
    const hn::RebindToSigned<decltype(d)> dSigned;
    static_assert((mostDifference & (mostDifference + 1)) == 0); // larger differences have a higher bit set
    const auto higher = hn::Set(d, static_cast<unsigned short>(0xFFFF - mostDifference));
    auto bits = hn::Zero(d);
    for (std::size_t row = 0; row < rows; ++row, planes += spreadPixels, differences += wholeRow) {
        const auto origin = hn::Set(d, origins[row]);
        for (std::size_t i = 0; i < wholeRow; i += hn::Lanes(d)) {
            const auto samples = hn::LoadU(d, planes + i);
            // One of the two is 0; the other is the magnitude of the difference.
            const auto above = hn::SaturatedSub(samples, origin), below = hn::SaturatedSub(origin, samples);
            bits = hn::Or(bits, hn::Or(above, below));
            const auto difference = hn::Sub(samples, origin);
            hn::StoreU(hn::BitCast(dSigned, difference), dSigned, differences + i);
        }
    }
    return hn::AllTrue(d, hn::Eq(hn::And(bits, higher), hn::Zero(d)));
}

HWY_ATTR void AddWholeProductsInVectors(const short* rows, const std::pair<std::size_t, std::size_t>* pairs,
                                        std::size_t pairCount, std::int32_t* parts) {
    const hn::CappedTag<short, wholeRow> d;
    const hn::Repartition<std::int32_t, decltype(d)> dSum;
    for (std::size_t pair = 0; pair < pairCount; ++pair, parts += wholeParts) {
        const short* a = rows + pairs[pair].first * wholeRow;
        const short* b = rows + pairs[pair].second * wholeRow;
        for (std::size_t i = 0; i < wholeRow; i += hn::Lanes(d)) {
            auto more = hn::Zero(dSum);
            const auto sum = hn::ReorderWidenMulAccumulate(dSum, hn::LoadU(d, a + i), hn::LoadU(d, b + i),
                                                           hn::LoadU(dSum, parts + i / 2), more);
            hn::StoreU(hn::Add(sum, more), dSum, parts + i / 2);
        }
    }
}

HWY_ATTR void AddPairsInVectors(const std::int32_t* a, const std::int32_t* b, std::size_t count,
                                PairSums& sums) {
#if HWY_TARGET == HWY_SCALAR // never run
    AddPairsScalar(a, b, count, sums);
#else
    const hn::ScalableTag<std::int32_t> d;
    const hn::Repartition<std::int64_t, decltype(d)> dWide;
    const auto oddOf = [=](auto numbers) {
        const hn::Repartition<std::uint64_t, decltype(d)> dPairs;
        return hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(dPairs, numbers)));
    };
    auto sumA = hn::Zero(d), sumB = sumA;
    auto squaresA = hn::Zero(dWide), squaresB = squaresA, products = squaresA;
    std::size_t i = 0;
    for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
        const auto x = hn::LoadU(d, a + i), y = hn::LoadU(d, b + i);
        sumA = hn::Add(sumA, x);
        sumB = hn::Add(sumB, y);
        const auto oddX = oddOf(x), oddY = oddOf(y);
        squaresA = hn::Add(squaresA, hn::Add(hn::MulEven(x, x), hn::MulEven(oddX, oddX)));
        squaresB = hn::Add(squaresB, hn::Add(hn::MulEven(y, y), hn::MulEven(oddY, oddY)));
        products = hn::Add(products, hn::Add(hn::MulEven(x, y), hn::MulEven(oddX, oddY)));
    }
    const auto sumOf = [](auto tag, auto lanes) { return hn::GetLane(hn::SumOfLanes(tag, lanes)); };
    sums.a += sumOf(d, sumA);
    sums.b += sumOf(d, sumB);
    sums.aa += sumOf(dWide, squaresA);
    sums.bb += sumOf(dWide, squaresB);
    sums.ab += sumOf(dWide, products);
    AddPairsScalar(a + i, b + i, count - i, sums);
#endif
}

HWY_ATTR void AddAnglesInVectors(const unsigned short* image, const unsigned short* reference,
                                 std::size_t stride, std::size_t bands, std::size_t count, AngleSum& sum) {
    const hn::CappedTag<double, 8> d;
    const std::size_t lanes = hn::Lanes(d);
    const auto zero = hn::Zero(d), half = hn::Set(d, 0.5);
    double angles[8];
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        auto product = zero, imageSquares = zero, referenceSquares = zero;
        for (std::size_t band = 0; band < bands; ++band) {
            const auto x = LoadReal(d, image + band * stride + i),
                       y = LoadReal(d, reference + band * stride + i);
            product = hn::Add(product, hn::Mul(x, y));
            imageSquares = hn::Add(imageSquares, hn::Mul(x, x));
            referenceSquares = hn::Add(referenceSquares, hn::Mul(y, y));
        }
        const auto squares = hn::Mul(imageSquares, referenceSquares);
        const auto has = hn::Gt(squares, zero);
        const auto cosine = hn::Div(product, hn::Sqrt(squares));
        const auto square = hn::Max(hn::Sub(half, hn::Mul(half, cosine)), zero);
        if (!hn::AllFalse(d, hn::And(has, hn::Gt(square, hn::Set(d, mostSquare))))) {
            AddAnglesScalar(image + i, reference + i, stride, bands, lanes, sum);
            continue;
        }
        auto series = hn::Set(d, asinTerms[0]);
        for (std::size_t term = 1; term < std::size(asinTerms); ++term)
            series = hn::Add(hn::Mul(series, square), hn::Set(d, asinTerms[term]));
        const auto angle = hn::Mul(hn::Mul(hn::Set(d, 2.0), hn::Sqrt(square)), series);
        hn::StoreU(hn::IfThenElseZero(has, angle), d, angles);
        for (std::size_t lane = 0; lane < lanes; ++lane)
            sum.radians += angles[lane];
        sum.count += hn::CountTrue(d, has);
    }
    AddAnglesScalar(image + i, reference + i, stride, bands, count - i, sum);
}

SumWeighted SumWeightedHere() { return &SumWeightedInVectors; }
AddProducts AddProductsHere() { return &AddProductsInVectors; }
SpreadPixels SpreadPixelsHere() { return &SpreadPixelsInVectors; }
LessOrigins LessOriginsHere() { return &LessOriginsInVectors; }
AddWholeProducts AddWholeProductsHere() { return &AddWholeProductsInVectors; }
AddPairs AddPairsHere() { return &AddPairsInVectors; }
AddAngles AddAnglesHere() { return &AddAnglesInVectors; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(SumWeightedHere);
PANSHARP_EXPORT(AddProductsHere);
PANSHARP_EXPORT(SpreadPixelsHere);
PANSHARP_EXPORT(LessOriginsHere);
PANSHARP_EXPORT(AddWholeProductsHere);
PANSHARP_EXPORT(AddPairsHere);
PANSHARP_EXPORT(AddAnglesHere);

SumWeighted SumWeightedFor(SimdTarget target) {
    return ForTarget<SumWeighted>(target, &SumWeightedScalar, HWY_DISPATCH_TABLE(SumWeightedHere));
}

AddProducts AddProductsFor(SimdTarget target) {
    return ForTarget<AddProducts>(target, &AddProductsScalar, HWY_DISPATCH_TABLE(AddProductsHere));
}

SpreadPixels SpreadPixelsFor(SimdTarget target) {
    return ForTarget<SpreadPixels>(target, &SpreadPixelsScalar, HWY_DISPATCH_TABLE(SpreadPixelsHere));
}

LessOrigins LessOriginsFor(SimdTarget target) {
    return ForTarget<LessOrigins>(target, &LessOriginsScalar, HWY_DISPATCH_TABLE(LessOriginsHere));
}

AddWholeProducts AddWholeProductsFor(SimdTarget target) {
    return ForTarget<AddWholeProducts>(target, &AddWholeProductsScalar,
                                       HWY_DISPATCH_TABLE(AddWholeProductsHere));
}

AddPairs AddPairsFor(SimdTarget target) {
    return ForTarget<AddPairs>(target, &AddPairsScalar, HWY_DISPATCH_TABLE(AddPairsHere));
}

AddAngles AddAnglesFor(SimdTarget target) {
    return ForTarget<AddAngles>(target, &AddAnglesScalar, HWY_DISPATCH_TABLE(AddAnglesHere));
}

} // namespace kernels
#endif
