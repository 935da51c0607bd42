#pragma once

#include "hostkit/SampleBlock.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace fitting {

/// Cumulative sums over one band of a part of an image, so that the mean over any rectangle, including
/// fractions of pixels, takes constant time. Samples are whole numbers and their sums are exact.
class AreaSums {
public:
    AreaSums() = default;
    /// `samples` and `usable` hold one number per pixel of `part`, row by row. A sample whose `usable` is 0
    /// is ignored.
    AreaSums(const hostkit::PixelRect& part, const std::vector<unsigned short>& samples,
             const std::vector<unsigned char>& usable);

    /// The mean over a rectangle, given by its left, upper, right and lower edges in absolute pixels of the
    /// image. Each pixel counts by the area inside. Empty when any of the rectangle lies outside the part or
    /// on a pixel that is not usable.
    [[nodiscard]] std::optional<double> Mean(double left, double top, double right, double bottom) const;

private:
    [[nodiscard]] double SumTo(double column, double row) const;

    hostkit::PixelRect rect;
    std::size_t stride = 0;
    std::vector<double> sums;            ///< over all pixels to the left of and above a corner
    std::vector<std::uint32_t> unusable; ///< counts of unusable pixels, in the same order
};

} // namespace fitting
