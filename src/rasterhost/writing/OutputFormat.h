#pragma once

#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

constexpr const char* tiffSoftwareItem = "TIFFTAG_SOFTWARE"; ///< GDAL writes it as a tag

/// A format to write, and what is known of it beyond what GDAL tells.
struct OutputFormat {
    std::string name;      ///< GDAL's short driver name
    bool isTiff = false;   ///< GeoTIFF: the layout of its pixels is decided here
    bool isCopied = false; ///< GDAL makes it only as a copy of a finished image, such as COG, PNG, JPEG 2000
    const char* softwareItem = "Software"; ///< metadata item that names the program
    std::uint32_t keptBits = 16;           ///< bits per sample, if GDAL accepts more and cuts or clips them
    /// For a format that is lossy by default but can be lossless: the options by which a request sets the
    /// quality itself, and the options that keep every sample.
    std::vector<const char*> qualityOptions = {};
    std::vector<const char*> exactOptions = {};
};

/// The format of a request, or the one for its output's extension: GDAL's first that writes such files, and
/// GeoTIFF for a name without an extension. Empty, with an item, for an extension that no format has.
[[nodiscard]] std::optional<OutputFormat> FindFormat(const OutputRequest& request, Status& status);

/// The usual extension of a format, such as ".tif"; its name in small letters if it has none. That of GeoTIFF
/// for an empty text and for a format unknown to GDAL.
[[nodiscard]] std::string UsualEnding(const std::string& format);

} // namespace rasterhost
