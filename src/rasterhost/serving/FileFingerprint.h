#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

class GDALDataset;

namespace rasterhost {

/// What tells whether an input is the one that it was: what is opened by a name as GDAL takes it.
struct FileFingerprint {
    std::string name; ///< as the request has it
    std::uint32_t columns = 0, rows = 0, bands = 0;
    std::string type; ///< GDAL's name of the samples' type; one for each band, with commas, where they differ
    std::optional<std::array<double, 6>> geoTransform;
    std::string projection; ///< WKT; may be empty
    std::uint32_t controlPoints = 0;
    std::uint64_t bytes = 0; ///< of all its files but statistics and overviews
    /// A number of 64 bits of what is in these files, in 16 digits; empty where they are none of the file
    /// system's.
    std::string content;
    /// The band that was found to tell transparency, counted from 1; 0 for none.
    std::uint32_t transparency = 0;
};

} // namespace rasterhost
