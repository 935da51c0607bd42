#pragma once

#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

constexpr const char* tiffSoftwareItem = "TIFFTAG_SOFTWARE"; ///< GDAL makes a tag of it

/// A format to write, and what is known of it beyond what GDAL tells.
struct OutputFormat {
    std::string name;      ///< GDAL's short driver name
    bool isTiff = false;   ///< GeoTIFF: how its pixels lie is decided here
    bool isCopied = false; ///< GDAL makes it only as a copy of a finished image, as COG, PNG, JPEG 2000
    const char* softwareItem = "Software"; ///< of the metadata, names the program
    std::uint32_t keptBits = 16;           ///< of a sample, where GDAL takes more and cuts or clips them
    /// For a format that is lossy by default but need not be: the options by which a request chooses the
    /// quality itself, and the options that keep every sample.
    std::vector<const char*> qualityOptions = {};
    std::vector<const char*> exactOptions = {};
};

/// The format of a request, or the one that its output's suffix means: GDAL's first that
/// writes files of that ending, GeoTIFF for a name without one. None, with an item, for an ending that no
/// format has.
[[nodiscard]] std::optional<OutputFormat> FindFormat(const OutputRequest& request, Status& status);

/// The ending that files of a format usually have, as in ".tif"; that of GeoTIFF for the empty text and for a
/// format that GDAL does not know.
[[nodiscard]] std::string UsualEnding(const std::string& format);

} // namespace rasterhost
