// Bilinear sampling in vectors of any width, with the same samples as the scalar version.
#include "kernels/BilinearRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <bit>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/BilinearRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

template <class T>
HWY_ATTR void DownInDouble(const double* HWY_RESTRICT upper, const double* HWY_RESTRICT lower,
                           double fraction, std::size_t samples, T* HWY_RESTRICT out) {
    const hn::ScalableTag<double> d;
    const std::size_t lanes = hn::Lanes(d);
    const auto ofUpper = hn::Set(d, 1.0 - fraction);
    const auto ofLower = hn::Set(d, fraction);
    const auto half = hn::Set(d, 0.5);
    std::size_t i = 0;
    for (; i + lanes <= samples; i += lanes) {
        const auto blend =
            hn::Add(hn::Mul(hn::LoadU(d, upper + i), ofUpper), hn::Mul(hn::LoadU(d, lower + i), ofLower));
        StoreTruncatedLanes(d, hn::Add(blend, half), out + i);
    }
    DownRowScalar(upper + i, lower + i, fraction, samples - i, out + i);
}

template <class T>
HWY_ATTR void AcrossByPlan(const AcrossPlan<float>& plan, const float* HWY_RESTRICT row,
                           WholeOf<T>* HWY_RESTRICT out) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> d32;
    const hn::Rebind<WholeOf<T>, decltype(d)> dOut;
    const std::size_t lanes = hn::Lanes(d), patterns = plan.lookups.size() / lanes;
    for (std::size_t pattern = 0; pattern < patterns; ++pattern) {
        const auto lookup = hn::SetTableIndices(d, plan.lookups.data() + pattern * lanes);
        const float* weights = plan.weights.data() + 2 * pattern * lanes;
        const auto ofFirst = hn::LoadU(d, weights), ofSecond = hn::LoadU(d, weights + lanes);
        for (std::size_t i = pattern; i < plan.vectors.size(); i += patterns) {
            const float* source = row + plan.vectors[i].source;
            const auto first = hn::TableLookupLanes(hn::LoadU(d, source), lookup);
            const auto second = hn::TableLookupLanes(hn::LoadU(d, source + plan.bands), lookup);
            const auto value = hn::MulAdd(second, ofSecond, hn::Mul(first, ofFirst)); // exact
            if constexpr (sizeof(T) == 1)
                hn::StoreU(hn::DemoteTo(dOut, hn::ConvertTo(d32, value)), dOut, out + plan.vectors[i].out);
            else
                hn::StoreU(value, dOut, out + plan.vectors[i].out);
        }
    }
}

/// A division of a sum of 8-bit samples, up to 255.5 * divisor, by multiplying by `factor` and shifting by 16
/// + `shift` bits. With factor * divisor = 2^(16 + shift) + e the result is right if sum * e < 2^(16 +
/// shift).
struct WholeDivision {
    constexpr explicit WholeDivision(std::uint32_t divisor)
        : shift(static_cast<int>(std::bit_width(divisor - 1)) - 1), factor((0x10000u << shift) / divisor) {
        if (factor * divisor != 0x10000u << shift) ++factor;
        isRight =
            factor <= 0xFFFF &&
            std::uint64_t{divisor * 511 / 2} * (factor * divisor - (0x10000u << shift)) < (0x10000u << shift);
    }
    int shift;
    std::uint32_t factor;
    bool isRight;
};

HWY_ATTR void DownInWhole(const std::uint16_t* HWY_RESTRICT upper, const std::uint16_t* HWY_RESTRICT lower,
                          std::uint32_t part, std::uint32_t steps, std::uint32_t acrossSteps,
                          std::size_t samples, unsigned char* HWY_RESTRICT out) {
    static_assert(std::all_of(wholeSteps.begin(), wholeSteps.end(), [](std::uint32_t across) {
        return std::all_of(wholeSteps.begin(), wholeSteps.end(), [across](std::uint32_t down) {
            return !AreWhole(across, down) || WholeDivision(across * down).isRight;
        });
    }));
    const hn::ScalableTag<std::uint16_t> d;
    const hn::RebindToSigned<decltype(d)> dSigned;
    const hn::Rebind<unsigned char, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    const auto set = [&](std::uint32_t number)
                         HWY_ATTR { return hn::Set(d, static_cast<std::uint16_t>(number)); };
    const WholeDivision division(steps * acrossSteps);
    const auto ofUpper = set(steps - part), ofLower = set(part);
    const auto half = set(steps * acrossSteps / 2), factor = set(division.factor);
    std::size_t i = 0;
    for (; i + lanes <= samples; i += lanes) {
        const auto blend =
            hn::Add(hn::Mul(hn::LoadU(d, upper + i), ofUpper), hn::Mul(hn::LoadU(d, lower + i), ofLower));
        const auto sample = hn::ShiftRightSame(hn::MulHigh(hn::Add(blend, half), factor), division.shift);
        hn::StoreU(hn::DemoteTo(narrow, hn::BitCast(dSigned, sample)), narrow, out + i);
    }
    DownRowWholeScalar(upper + i, lower + i, part, steps, acrossSteps, samples - i, out + i);
}

/// Sums of 16-bit samples are below 2^24 and exact. So is everything if the steps are even. If they are odd,
/// rounding the factor and the product changes the result by less than 2^16 * 2^-23, which is less than its
/// distance from a whole number (AreWhole).
HWY_ATTR void DownInWhole(const float* HWY_RESTRICT upper, const float* HWY_RESTRICT lower,
                          std::uint32_t part, std::uint32_t steps, std::uint32_t acrossSteps,
                          std::size_t samples, unsigned short* HWY_RESTRICT out) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> d32;
    const hn::Rebind<unsigned short, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    const auto scale = static_cast<float>(steps * acrossSteps);
    const auto ofUpper = hn::Set(d, static_cast<float>(steps - part));
    const auto ofLower = hn::Set(d, static_cast<float>(part));
    const auto half = hn::Set(d, scale / 2), factor = hn::Set(d, 1 / scale);
    std::size_t i = 0;
    for (; i + lanes <= samples; i += lanes) {
        const auto ofLowest = hn::MulAdd(hn::LoadU(d, lower + i), ofLower, half);
        const auto sum = hn::MulAdd(hn::LoadU(d, upper + i), ofUpper, ofLowest);
        hn::StoreU(hn::DemoteTo(narrow, hn::ConvertTo(d32, hn::Mul(sum, factor))), narrow, out + i);
    }
    DownRowWholeScalar(upper + i, lower + i, part, steps, acrossSteps, samples - i, out + i);
}

DownRow<unsigned char> Down8() { return &DownInDouble<unsigned char>; }
DownRow<unsigned short> Down16() { return &DownInDouble<unsigned short>; }
DownRowWhole<unsigned char> DownWhole8() { return &DownInWhole; }
DownRowWhole<unsigned short> DownWhole16() { return &DownInWhole; }

template <class T>
AcrossWhole<T> Across() {
    return {static_cast<std::uint32_t>(hn::Lanes(hn::ScalableTag<float>())), &AcrossByPlan<T>};
}

AcrossWhole<unsigned char> AcrossWhole8() { return Across<unsigned char>(); }
AcrossWhole<unsigned short> AcrossWhole16() { return Across<unsigned short>(); }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Down8);
PANSHARP_EXPORT(Down16);
PANSHARP_EXPORT(DownWhole8);
PANSHARP_EXPORT(DownWhole16);
PANSHARP_EXPORT(AcrossWhole8);
PANSHARP_EXPORT(AcrossWhole16);

template <>
DownRow<unsigned char> DownRowFor(SimdTarget target) {
    return ForTarget<DownRow<unsigned char>>(target, &DownRowScalar, HWY_DISPATCH_TABLE(Down8));
}

template <>
DownRow<unsigned short> DownRowFor(SimdTarget target) {
    return ForTarget<DownRow<unsigned short>>(target, &DownRowScalar, HWY_DISPATCH_TABLE(Down16));
}

template <>
DownRowWhole<unsigned char> DownRowWholeFor(SimdTarget target) {
    return ForTarget<DownRowWhole<unsigned char>>(target, &DownRowWholeScalar,
                                                  HWY_DISPATCH_TABLE(DownWhole8));
}

template <>
DownRowWhole<unsigned short> DownRowWholeFor(SimdTarget target) {
    return ForTarget<DownRowWhole<unsigned short>>(target, &DownRowWholeScalar,
                                                   HWY_DISPATCH_TABLE(DownWhole16));
}

template <>
AcrossWhole<unsigned char> AcrossWholeFor(SimdTarget target) {
    return ForTarget(target, AcrossWhole<unsigned char>(), HWY_DISPATCH_TABLE(AcrossWhole8));
}

template <>
AcrossWhole<unsigned short> AcrossWholeFor(SimdTarget target) {
    return ForTarget(target, AcrossWhole<unsigned short>(), HWY_DISPATCH_TABLE(AcrossWhole16));
}

} // namespace kernels
#endif
