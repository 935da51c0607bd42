#pragma once

#include <optional>
#include <string_view>

namespace rasterhost {

/// The modulation transfer of a sensor's band at the Nyquist frequency of its pixels, as published: above 0
/// and below 1. The sensor by its name or the short one of its products, such as "WorldView-2", "worldview02"
/// or "WV02"; the band by its name (reading/BandNames.h). None where no number is known here.
[[nodiscard]] std::optional<double> PublishedTransfer(std::string_view sensor, std::string_view band);

} // namespace rasterhost
