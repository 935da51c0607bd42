#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <string>

namespace rasterhost {

/// The format that the ending of a file's name stands for: GDAL's first that writes files of that ending,
/// GeoTIFF for a name without one. Empty, with an item, for an ending that no format has.
[[nodiscard]] std::string FormatOfName(const std::string& file, Status& status);

} // namespace rasterhost
