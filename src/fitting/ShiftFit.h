#pragma once

#include "fitting/FitBlock.h"
#include "hostkit/Point.h"

#include <cstdint>
#include <optional>

namespace fitting {

/// How far the multispectral content is displaced to the right and down against its place, in multispectral
/// pixels. With (0.5, 0) what pan shows at a place is found half a multispectral pixel further right in the
/// multispectral image.
struct Shift {
    hostkit::Point way;
    double rSquared = 0.0; ///< of the weight fit with this shift taken out
    /// Windows that could be measured alone, and the median distance of their shifts from the one above.
    std::uint32_t windows = 0;
    double spread = 0.0;

    [[nodiscard]] double GetLength() const;
    /// True when the windows tell the same: several of them, and their spread is small beside the length or
    /// below 0.1.
    [[nodiscard]] bool IsAgreed() const;
};

/// Measures the shift from windows spread over the images: the one with the largest R² of a weight fit over
/// all of them, pan averaged again over the moved footprints for each trial. Looks up to 2 multispectral
/// pixels in each direction. `shortSide` is the lesser of the columns and rows of the multispectral image.
/// None when there is nothing to measure by: too few pixels, bands that do not make up pan or are too many to
/// be fitted, or a best shift at the end of what was looked at. False with an item when an input cannot be
/// read.
[[nodiscard]] bool FitShift(FitBlockSource& source, std::uint32_t shortSide, std::optional<Shift>& shift,
                            KOVA::Tessara::Fundament::Status& status);

} // namespace fitting
