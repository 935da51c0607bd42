#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace kernels {

/// How the pan grid lies on the multispectral grid along one axis. Pixel numbers are absolute and count from
/// the corner of each grid. Positions count between pixel centres: the centre of multispectral pixel i is at
/// position i.
struct GridAxis {
    static constexpr std::int64_t unit = std::int64_t{3} << 28;

    double ratio = 1.0;  ///< pan pixel size / multispectral pixel size
    double offset = 0.0; ///< (pan corner - multispectral corner) / multispectral pixel size
    /// The ratio as a fraction, and `offset - 0.5` in units of 1 / (2 * denominator * GridAxis::unit). A
    /// denominator of 0 means that the ratio is not a simple fraction; positions are then computed in double.
    std::int64_t numerator = 1;
    std::int64_t denominator = 1;
    std::int64_t start = -unit;
};

/// A ratio within 1e-9 (relative) of a fraction with a denominator up to 64 is replaced by it. An offset
/// within 1e-7 of a multiple of 1/48 of the pan grid's step is replaced by that multiple. Georeferencing has
/// noise of this size.
[[nodiscard]] GridAxis MakeGridAxis(double ratio, double offset);

struct GridPosition {
    std::int64_t index = 0; ///< of the pixel at or before the position; may lie outside the image
    double fraction = 0.0;  ///< of the way to the next pixel, 0 to 1
};

/// Splits a position between pixel centres into index and fraction. Positions beyond any image are limited to
/// the largest whole number that a double represents exactly.
[[nodiscard]] GridPosition SplitPosition(double position);

/// The position of the centre of a pan pixel among the multispectral pixels:
///
///     u = (pan + 0.5) * ratio + offset - 0.5,  index = floor(u),  fraction = u - index
///
/// For a simple ratio the arithmetic is in whole numbers and the fraction is rounded once, so pan pixels of
/// the same phase get the same fraction everywhere.
[[nodiscard]] GridPosition PanToMultispectral(const GridAxis& axis, std::int64_t pan);

/// The reverse: the position of the centre of a multispectral pixel among the pan pixels, counted between
/// their centres,
///
///     v = (multispectral + 0.5 - offset) / ratio - 0.5,  index = floor(v),  fraction = v - index
[[nodiscard]] GridPosition MultispectralToPan(const GridAxis& axis, std::int64_t multispectral);

/// The numbers of steps in which fractions are counted. Products and sums of a row's samples with whole
/// numbers of steps are whole numbers, which vectors compute exactly.
inline constexpr std::array<std::uint32_t, 7> wholeSteps{2, 4, 8, 16, 3, 5, 7};

/// The first of `wholeSteps` of which all fractions are whole multiples; 0 if none is. The multiple of an odd
/// number must be the double closest to it.
[[nodiscard]] std::uint32_t WholeSteps(std::span<const GridPosition> positions);

/// The multiple of 1 / steps that a fraction is.
[[nodiscard]] inline std::uint32_t StepsOf(double fraction, std::uint32_t steps) {
    return static_cast<std::uint32_t>(fraction * steps + 0.5);
}

/// Whether whole numbers give the samples that the definition of an interpolation gives in double, for the
/// numbers of steps across and down.
///
/// If both are even, every product and sum of the definition is exact. If both are odd, its errors are less
/// than 2^-30. The exact result before truncation is n / scale + 1/2 for a whole number n and an odd scale:
/// across * down for bilinear, its cube for cubic. So it is at least 1 / (2 * 49^3) away from every whole
/// number. If only one is odd, a half may be reached and missed.
[[nodiscard]] constexpr bool AreWhole(std::uint32_t across, std::uint32_t down) {
    return across != 0 && down != 0 && across % 2 == down % 2;
}

} // namespace kernels
