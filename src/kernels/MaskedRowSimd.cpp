// Bilinear sampling next to gaps, in vectors of up to four columns, with the same samples as the scalar
// version.
#include "kernels/MaskedRow.h"
#include "kernels/Simd.h"

#include <algorithm>

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

template <class T>
HWY_ATTR void SampleMaskedRuns(const MaskedSource<T>& source, std::span<const MaskedRun> runs,
                               const double* HWY_RESTRICT fractions, T* HWY_RESTRICT out) {
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
            const auto ofSecond = hn::LoadU(d, fractions + column), ofFirst = hn::Sub(one, ofSecond);
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
