#include "kernels/GridAxis.h"

#include <algorithm>
#include <cmath>

namespace kernels {

namespace {

constexpr std::int64_t largestDenominator = 64;
constexpr double ratioNoise = 1e-9;
constexpr double offsetNoise = 1e-7;
// Beyond these limits the whole-number arithmetic could overflow. No real raster reaches them.
constexpr double largestRatio = 1e4;
constexpr double largestOffset = 1e7;

struct Division {
    std::int64_t quotient;
    std::int64_t remainder; ///< 0 to divisor - 1
};

Division DivideDown(std::int64_t dividend, std::int64_t divisor) {
    const std::int64_t quotient = dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
    return {quotient, dividend - quotient * divisor};
}

/// (steps + units / GridAxis::unit) / divisor.
GridPosition Divide(std::int64_t steps, std::int64_t units, std::int64_t divisor) {
    const Division phase = DivideDown(steps, divisor);
    const std::int64_t whole = divisor * GridAxis::unit;
    const Division position = DivideDown(phase.remainder * GridAxis::unit + units, whole);
    return {phase.quotient + position.quotient,
            static_cast<double>(position.remainder) / static_cast<double>(whole)};
}

} // namespace

GridPosition SplitPosition(double position) {
    constexpr double farthest = 9007199254740992.0; // 2^53
    position = std::clamp(position, -farthest, farthest);
    const double whole = std::floor(position);
    return {static_cast<std::int64_t>(whole), position - whole};
}

GridAxis MakeGridAxis(double ratio, double offset) {
    GridAxis axis{ratio, offset, 0, 0, 0};
    if (!(ratio > 0.0 && ratio < largestRatio) || !(std::fabs(offset) < largestOffset)) return axis;
    for (std::int64_t q = 1; q <= largestDenominator; ++q) {
        const double p = std::round(ratio * static_cast<double>(q));
        if (p < 1.0 || std::fabs(ratio * static_cast<double>(q) - p) > ratioNoise * p) continue;
        axis.numerator = static_cast<std::int64_t>(p);
        axis.denominator = q;
        const double steps = 48.0 * static_cast<double>(q);
        const double units = static_cast<double>(2 * q * GridAxis::unit);
        const double step = std::round(offset * steps);
        const bool onStep = std::fabs(offset - step / steps) <= offsetNoise;
        axis.start =
            onStep ? static_cast<std::int64_t>(step) * (GridAxis::unit / 24) : std::llround(offset * units);
        axis.start -= q * GridAxis::unit; // half a multispectral pixel
        break;
    }
    return axis;
}

GridPosition PanToMultispectral(const GridAxis& axis, std::int64_t pan) {
    if (axis.denominator == 0)
        return SplitPosition((static_cast<double>(pan) + 0.5) * axis.ratio + axis.offset - 0.5);
    return Divide((2 * pan + 1) * axis.numerator, axis.start, 2 * axis.denominator);
}

GridPosition MultispectralToPan(const GridAxis& axis, std::int64_t multispectral) {
    if (axis.denominator == 0)
        return SplitPosition((static_cast<double>(multispectral) + 0.5 - axis.offset) / axis.ratio - 0.5);
    return Divide(2 * multispectral * axis.denominator - axis.numerator, -axis.start, 2 * axis.numerator);
}

std::uint32_t WholeSteps(std::span<const GridPosition> positions) {
    const auto serves = [&](std::uint32_t steps) {
        return std::all_of(positions.begin(), positions.end(), [steps](const GridPosition& position) {
            return position.fraction == static_cast<double>(StepsOf(position.fraction, steps)) / steps;
        });
    };
    const auto found = std::find_if(wholeSteps.begin(), wholeSteps.end(), serves);
    return found != wholeSteps.end() ? *found : 0;
}

} // namespace kernels
