// Positions in vectors of any width, by the operations of their definition.
#include "kernels/MappedRow.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

#ifndef HWY_TARGET_INCLUDE // not joined with others
#define HWY_TARGET_INCLUDE "kernels/PositionRowSimd.cpp"
#endif
#include <hwy/foreach_target.h>
// Highway requires this order.
#include <hwy/highway.h>

#include "kernels/Planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kernels {
namespace HWY_NAMESPACE {

/// next() returns the t of one vector after another.
template <class Next>
HWY_INLINE void FillFrom(const MappedLine& line, double* HWY_RESTRICT x, double* HWY_RESTRICT y,
                         const Next& next) {
    const hn::ScalableTag<double> d;
    const std::size_t lanes = hn::Lanes(d), count = line.pixels;
    const auto fromX = hn::Set(d, line.fromX), toX = hn::Set(d, line.toX);
    const auto fromY = hn::Set(d, line.fromY), toY = hn::Set(d, line.toY);
    const auto store = [&](double* HWY_RESTRICT atX, double* HWY_RESTRICT atY) HWY_ATTR {
        const auto t = next();
        const auto rest = hn::Sub(hn::Set(d, 1.0), t);
        hn::StoreU(hn::Add(hn::Mul(fromX, rest), hn::Mul(toX, t)), d, atX);
        hn::StoreU(hn::Add(hn::Mul(fromY, rest), hn::Mul(toY, t)), d, atY);
    };
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes)
        store(x + i, y + i);
    if (i == count) return;
    double lastX[HWY_MAX_BYTES / sizeof(double)], lastY[HWY_MAX_BYTES / sizeof(double)];
    store(lastX, lastY);
    std::copy_n(lastX, count - i, x + i);
    std::copy_n(lastY, count - i, y + i);
}

/// Whether every t is exact: whole numbers divided by a power of two.
HWY_INLINE bool IsExact(const MappedLine& line) {
    constexpr double most = 1 << 30;
    const auto isWhole = [](double number) {
        return std::fabs(number) <= most && static_cast<double>(static_cast<std::int64_t>(number)) == number;
    };
    return isWhole(line.start) && isWhole(line.step) && isWhole(line.length) && line.length > 0.0 &&
           std::has_single_bit(static_cast<std::uint64_t>(line.length)) &&
           line.pixels < (std::size_t{1} << 20);
}

HWY_ATTR void FillLineInVectors(const MappedLine& line, double* HWY_RESTRICT x, double* HWY_RESTRICT y) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    const auto start = hn::Set(d, line.start), step = hn::Set(d, line.step);
    const auto lanes = static_cast<double>(hn::Lanes(d));
    auto number = hn::PromoteTo(d, hn::Iota(d32, 0));
    if (IsExact(line)) { // then each can be made by adding to the one before
        const double part = 1.0 / line.length;
        const auto more = hn::Set(d, lanes * line.step * part);
        auto t = hn::Mul(hn::Add(start, hn::Mul(number, step)), hn::Set(d, part));
        FillFrom(line, x, y, [&]() HWY_ATTR { return std::exchange(t, hn::Add(t, more)); });
    } else {
        FillFrom(line, x, y, [&]() HWY_ATTR {
            const auto t = hn::Div(hn::Add(start, hn::Mul(number, step)), hn::Set(d, line.length));
            number = hn::Add(number, hn::Set(d, lanes));
            return t;
        });
    }
    if (line.shrink == 1.0) return;
    for (std::size_t i = 0; i < line.pixels; ++i) {
        x[i] = line.Shrink(x[i]);
        y[i] = line.Shrink(y[i]);
    }
}

FillLine Lines() { return &FillLineInVectors; }

} // namespace HWY_NAMESPACE
} // namespace kernels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kernels {

PANSHARP_EXPORT(Lines);

FillLine FillLineFor(SimdTarget target) {
    return ForTarget<FillLine>(target, &FillLineScalar, HWY_DISPATCH_TABLE(Lines));
}

} // namespace kernels
#endif
