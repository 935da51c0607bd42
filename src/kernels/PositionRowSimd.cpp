// Positions in vectors of any width, by the operations of their definition.
#include "kernels/MappedRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/PositionRowSimd.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

HWY_ATTR void FillLine(const MappedLine& line, std::size_t count, double* HWY_RESTRICT positions) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const std::size_t lanes = hn::Lanes(d);
    const auto from = hn::Set(d, line.from), to = hn::Set(d, line.to), one = hn::Set(d, 1.0);
    const auto start = hn::Set(d, line.start), step = hn::Set(d, line.step), length = hn::Set(d, line.length);
    const auto part = hn::Set(d, 1.0 / line.length);
    int exponent = 0;
    const bool isPowerOfTwo =
        std::fabs(std::frexp(line.length, &exponent)) == 0.5; // then 1 / length is exact
    const auto at = [&](auto number) HWY_ATTR {
        const auto distance = hn::Add(start, hn::Mul(number, step));
        const auto t = isPowerOfTwo ? hn::Mul(distance, part) : hn::Div(distance, length);
        return hn::Add(hn::Mul(from, hn::Sub(one, t)), hn::Mul(to, t));
    };
    auto number = hn::PromoteTo(d, hn::Iota(d32, 0));
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        hn::StoreU(at(number), d, positions + i);
        number = hn::Add(number, hn::Set(d, static_cast<double>(lanes)));
    }
    HWY_ALIGN double rest[HWY_MAX_BYTES / sizeof(double)];
    hn::Store(at(number), d, rest);
    std::copy_n(rest, count - i, positions + i);
}

HWY_ATTR Extent FindExtent(const double* HWY_RESTRICT positions, std::size_t count) {
    const hn::ScalableTag<double> d;
    const std::size_t lanes = hn::Lanes(d);
    auto least = hn::Set(d, positions[0]), most = least;
    auto isNumber = hn::Eq(least, least);
    const auto see = [&](auto position) HWY_ATTR {
        isNumber = hn::And(isNumber, hn::Eq(position, position));
        least = hn::Min(least, position);
        most = hn::Max(most, position);
    };
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes)
        see(hn::LoadU(d, positions + i));
    for (; i < count; ++i)
        see(hn::Set(d, positions[i]));
    if (!hn::AllTrue(d, isNumber)) return {-HUGE_VAL, HUGE_VAL};
    return {hn::GetLane(hn::MinOfLanes(d, least)), hn::GetLane(hn::MaxOfLanes(d, most))};
}

PositionKernels Positions() { return {&FillLine, &FindExtent}; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Positions);

PositionKernels PositionKernelsFor(SimdTarget target) {
    return ForTarget(target, PositionKernels{&FillLineScalar, &FindExtentScalar},
                     HWY_DISPATCH_TABLE(Positions));
}

} // namespace kernels
#endif
