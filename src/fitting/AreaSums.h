#pragma once

#include "hostkit/SampleBlock.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace fitting {

/// One band of a part of an image, summed up so that the mean over any rectangle, fractions of pixels
/// included, takes the same few operations. Samples are whole numbers: their sums are exact.
class AreaSums {
public:
    AreaSums() = default;
    /// `samples` and `usable` hold a number for each pixel of `part`, row by row; where `usable` is 0 the
    /// sample counts for nothing.
    AreaSums(const hostkit::PixelRect& part, const std::vector<unsigned short>& samples,
             const std::vector<unsigned char>& usable);

    /// The mean over a rectangle in absolute pixels of the image, from the left and upper edge to the right
    /// and lower one, each pixel by the area that lies within. None when any of it lies outside the part or
    /// on a pixel that is not usable.
    [[nodiscard]] std::optional<double> Mean(double left, double top, double right, double bottom) const;

private:
    [[nodiscard]] double SumTo(double column, double row) const;

    hostkit::PixelRect rect;
    std::size_t stride = 0;
    std::vector<double> sums;            ///< over all pixels left of and above a corner
    std::vector<std::uint32_t> unusable; ///< likewise
};

} // namespace fitting
