#pragma once

#include <optional>
#include <string_view>

namespace rasterhost {

/// The published modulation transfer of a sensor's band at the Nyquist frequency of its pixels, above 0 and
/// below 1. The sensor is given by its name or the short name of its products, such as "WorldView-2",
/// "worldview02" or "WV02"; the band by its name (reading/BandNames.h). Empty when no number is known here.
[[nodiscard]] std::optional<double> PublishedTransfer(std::string_view sensor, std::string_view band);

} // namespace rasterhost
