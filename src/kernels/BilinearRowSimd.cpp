// The second pass of the sampler in vectors of any width, with the same samples as the scalar version.
#include "kernels/BilinearRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <bit>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/BilinearRowSimd.cpp"
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
HWY_ATTR void DownInWhole(const WholeOf<T>* HWY_RESTRICT upper, const WholeOf<T>* HWY_RESTRICT lower,
                          std::uint32_t part, std::uint32_t steps, std::uint32_t acrossSteps,
                          std::size_t samples, T* HWY_RESTRICT out) {
    using Whole = WholeOf<T>;
    const hn::ScalableTag<Whole> d;
    const hn::RebindToSigned<decltype(d)> dSigned;
    const hn::Rebind<T, decltype(d)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    const int shift = std::countr_zero(steps * acrossSteps);
    const auto ofUpper = hn::Set(d, static_cast<Whole>(steps - part));
    const auto ofLower = hn::Set(d, static_cast<Whole>(part));
    const auto half = hn::Set(d, static_cast<Whole>(steps * acrossSteps / 2));
    std::size_t i = 0;
    for (; i + lanes <= samples; i += lanes) {
        const auto blend =
            hn::Add(hn::Mul(hn::LoadU(d, upper + i), ofUpper), hn::Mul(hn::LoadU(d, lower + i), ofLower));
        const auto sample = hn::ShiftRightSame(hn::Add(blend, half), shift);
        hn::StoreU(hn::DemoteTo(narrow, hn::BitCast(dSigned, sample)), narrow, out + i);
    }
    DownRowWholeScalar(upper + i, lower + i, part, steps, acrossSteps, samples - i, out + i);
}

DownRow<unsigned char> Down8() { return &DownInDouble<unsigned char>; }
DownRow<unsigned short> Down16() { return &DownInDouble<unsigned short>; }
DownRowWhole<unsigned char> DownWhole8() { return &DownInWhole<unsigned char>; }
DownRowWhole<unsigned short> DownWhole16() { return &DownInWhole<unsigned short>; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Down8);
PANSHARP_EXPORT(Down16);
PANSHARP_EXPORT(DownWhole8);
PANSHARP_EXPORT(DownWhole16);

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

} // namespace kernels
#endif
