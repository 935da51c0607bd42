// Bilinear sampling next to gaps, with the same samples as the scalar version.
#include "kernels/MaskedRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/MaskedRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

/// Four bands in float, which is exact; a vector holds the pixels of up to four columns.
template <class T>
HWY_ATTR void SampleFourBands(const MaskedSource<T>& source, std::span<const MaskedRun> runs,
                              const float* HWY_RESTRICT fractions, T* HWY_RESTRICT out) {
    constexpr std::size_t bands = 4;
    const hn::CappedTag<float, bands*(maskedPadding + 1)> d;
    const hn::RebindToSigned<decltype(d)> dWhole;
    const hn::Rebind<T, decltype(d)> dSample;
    using Pixel = std::conditional_t<sizeof(T) == 1, std::uint32_t, std::uint64_t>;
    const hn::Repartition<Pixel, decltype(dSample)> dPixel;
    const std::size_t lanes = hn::Lanes(d), columns = lanes / bands;
    const auto columnOf = hn::IndicesFromVec(d, hn::ShiftRight<2>(hn::Iota(dWhole, 0)));
    const auto one = hn::Set(d, 1.0f), half = hn::Set(d, 0.5f);
    for (const MaskedRun& run : runs) {
        const auto samples = [&](const T* row, std::uint32_t at) HWY_ATTR {
            Pixel pixel;
            std::memcpy(&pixel, row + at, sizeof(pixel));
            const auto repeated = hn::BitCast(dSample, hn::Set(dPixel, pixel));
            return hn::ConvertTo(d, hn::PromoteTo(dWhole, repeated));
        };
        const auto a = samples(source.upper, run.first), b = samples(source.upper, run.second);
        const auto c = samples(source.lower, run.first), e = samples(source.lower, run.second);
        const auto down = [&](std::size_t pixel, double weight) HWY_ATTR {
            return hn::Set(d, run.hasData[pixel] ? static_cast<float>(weight) : 0.0f);
        };
        const auto downA = down(0, 1.0 - source.fraction), downB = down(1, 1.0 - source.fraction);
        const auto downC = down(2, source.fraction), downE = down(3, source.fraction);
        // The pixels of either side have the same weight across.
        const auto sumFirst = hn::MulAdd(a, downA, hn::Mul(c, downC)), ofFirst = hn::Add(downA, downC);
        const auto sumSecond = hn::MulAdd(b, downB, hn::Mul(e, downE)), ofSecond = hn::Add(downB, downE);
        for (std::size_t column = run.column; column < run.end; column += columns) {
            const auto second = hn::TableLookupLanes(hn::LoadDup128(d, fractions + column), columnOf);
            const auto first = hn::Sub(one, second);
            const auto sum = hn::MulAdd(sumFirst, first, hn::Mul(sumSecond, second));
            const auto weights = hn::MulAdd(ofFirst, first, hn::Mul(ofSecond, second));
            const auto mean = hn::ConvertTo(dWhole, hn::Add(hn::Div(sum, weights), half));
            const auto made = hn::DemoteTo(dSample, mean);
            const std::size_t count = std::min(columns, run.end - column);
            if (count == columns) {
                hn::StoreU(made, dSample, out + column * bands);
            } else {
                HWY_ALIGN T some[bands * (maskedPadding + 1)];
                hn::Store(made, dSample, some);
                std::copy_n(some, count * bands, out + column * bands);
            }
        }
    }
}

#endif

template <class T>
HWY_ATTR void SampleMaskedRuns(const MaskedSource<T>& source, std::span<const MaskedRun> runs,
                               const MaskedFractions& fractions, T* HWY_RESTRICT out) {
#if HWY_TARGET != HWY_SCALAR
    if (fractions.exact && source.bands == 4) return SampleFourBands(source, runs, fractions.exact, out);
#endif
    const hn::CappedTag<double, maskedPadding + 1> d; // few runs are longer
    const std::size_t lanes = hn::Lanes(d), bands = source.bands;
    const auto one = hn::Set(d, 1.0), half = hn::Set(d, 0.5);
    for (const MaskedRun& run : runs) {
        const T *a = source.upper + run.first, *b = source.upper + run.second;
        const T *c = source.lower + run.first, *e = source.lower + run.second;
        // Masking a factor gives the same weight as masking the product: the other factor is finite.
        const auto down = [&](std::size_t pixel, double weight)
                              HWY_ATTR { return hn::Set(d, run.hasData[pixel] ? weight : 0.0); };
        const auto downA = down(0, 1.0 - source.fraction), downB = down(1, 1.0 - source.fraction);
        const auto downC = down(2, source.fraction), downE = down(3, source.fraction);
        for (std::size_t column = run.column; column < run.end; column += lanes) {
            const auto ofSecond = hn::LoadU(d, fractions.across + column), ofFirst = hn::Sub(one, ofSecond);
            const auto ofA = hn::Mul(ofFirst, downA), ofB = hn::Mul(ofSecond, downB);
            const auto ofC = hn::Mul(ofFirst, downC), ofE = hn::Mul(ofSecond, downE);
            const auto weights = hn::Add(hn::Add(hn::Add(ofA, ofB), ofC), ofE);
            const std::size_t count = std::min<std::size_t>(lanes, run.end - column);
            for (std::size_t band = 0; band < bands; ++band) {
                const auto of = [&](const T* pixel, hn::Vec<decltype(d)> weight) HWY_ATTR {
                    return hn::Mul(hn::Set(d, static_cast<double>(pixel[band])), weight);
                };
                const auto sum = hn::Add(hn::Add(hn::Add(of(a, ofA), of(b, ofB)), of(c, ofC)), of(e, ofE));
                T made[maskedPadding + 1];
                StoreTruncatedLanes(d, hn::Add(hn::Div(sum, weights), half), made);
                for (std::size_t i = 0; i < count; ++i)
                    out[(column + i) * bands + band] = made[i];
            }
        }
    }
}

MaskedRow<unsigned char> Masked8() { return &SampleMaskedRuns<unsigned char>; }
MaskedRow<unsigned short> Masked16() { return &SampleMaskedRuns<unsigned short>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Masked8);
PANSHARP_EXPORT(Masked16);

template <>
MaskedRow<unsigned char> MaskedRowFor(SimdTarget target) {
    return ForTarget<MaskedRow<unsigned char>>(target, &MaskedRowScalar, HWY_DISPATCH_TABLE(Masked8));
}

template <>
MaskedRow<unsigned short> MaskedRowFor(SimdTarget target) {
    return ForTarget<MaskedRow<unsigned short>>(target, &MaskedRowScalar, HWY_DISPATCH_TABLE(Masked16));
}

} // namespace kernels
#endif
