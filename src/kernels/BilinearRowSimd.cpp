// The second pass of the sampler in vectors of whatever width the processor has; the same samples as the
// scalar one.
#include "kernels/BilinearRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <bit>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/BilinearRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway asks for this order.
#include <hwy/highway.h>

#include "kernels/Planes-inl.h"

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

void Down8(const double* upper, const double* lower, double fraction, std::size_t samples,
           unsigned char* out) {
    DownInDouble(upper, lower, fraction, samples, out);
}

void Down16(const double* upper, const double* lower, double fraction, std::size_t samples,
            unsigned short* out) {
    DownInDouble(upper, lower, fraction, samples, out);
}

void DownWhole8(const std::uint16_t* upper, const std::uint16_t* lower, std::uint32_t part,
                std::uint32_t steps, std::uint32_t acrossSteps, std::size_t samples, unsigned char* out) {
    DownInWhole(upper, lower, part, steps, acrossSteps, samples, out);
}

void DownWhole16(const std::uint32_t* upper, const std::uint32_t* lower, std::uint32_t part,
                 std::uint32_t steps, std::uint32_t acrossSteps, std::size_t samples, unsigned short* out) {
    DownInWhole(upper, lower, part, steps, acrossSteps, samples, out);
}

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

HWY_EXPORT(Down8);
HWY_EXPORT(Down16);
HWY_EXPORT(DownWhole8);
HWY_EXPORT(DownWhole16);

template <>
DownRow<unsigned char> DownRowFor(SimdTarget target) {
    return target == 0 ? &DownRowScalar<unsigned char> : HWY_DISPATCH_TABLE(Down8)[DispatchIndex(target)];
}

template <>
DownRow<unsigned short> DownRowFor(SimdTarget target) {
    return target == 0 ? &DownRowScalar<unsigned short> : HWY_DISPATCH_TABLE(Down16)[DispatchIndex(target)];
}

template <>
DownRowWhole<unsigned char> DownRowWholeFor(SimdTarget target) {
    return target == 0 ? &DownRowWholeScalar<unsigned char>
                       : HWY_DISPATCH_TABLE(DownWhole8)[DispatchIndex(target)];
}

template <>
DownRowWhole<unsigned short> DownRowWholeFor(SimdTarget target) {
    return target == 0 ? &DownRowWholeScalar<unsigned short>
                       : HWY_DISPATCH_TABLE(DownWhole16)[DispatchIndex(target)];
}

} // namespace kernels
#endif
