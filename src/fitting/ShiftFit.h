#pragma once

#include "fitting/FitBlock.h"
#include "hostkit/Point.h"

#include <cstdint>
#include <optional>

namespace fitting {

/// How far the multispectral content is displaced to the right and down against its georeferencing, in
/// multispectral pixels. With (0.5, 0), a feature of pan appears half a multispectral pixel further right in
/// the multispectral image.
struct Shift {
    hostkit::Point displacement;
    double rSquared = 0.0; ///< of the weight fit after the shift is corrected
    /// The number of windows that could be measured alone, and the median distance of their shifts from
    /// `displacement`.
    std::uint32_t windows = 0;
    double spread = 0.0;

    [[nodiscard]] double GetLength() const;
    /// True when the windows agree: there are several, and their spread is below 0.1 or small compared with
    /// the length.
    [[nodiscard]] bool IsAgreed() const;
};

/// Measures the shift from windows spread over the images. It is the shift with the largest R squared of a
/// weight fit over all windows, where each trial averages pan anew over the moved footprints. Searches up to
/// 2 multispectral pixels in each direction. `shortSide` is the smaller of the columns and rows of the
/// multispectral image.
///
/// Empty when it cannot be measured: there are too few pixels, the bands do not reproduce pan or are too many
/// to be fitted, or the best shift lies at the end of the search range. False, with an item, when an input
/// cannot be read.
[[nodiscard]] bool FitShift(FitBlockSource& source, std::uint32_t shortSide, std::optional<Shift>& shift,
                            KOVA::Tessara::Fundament::Status& status);

} // namespace fitting
