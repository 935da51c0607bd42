#pragma once

#include "rasterhost/writing/TiffDirectory.h"
#include "rasterhost/writing/TileSpool.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace rasterhost {

/// The full size of an image, or one of its overviews.
struct CogLevel {
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::vector<TilePlace> tiles;     ///< in the spool, along rows of tiles
    std::vector<TilePlace> maskTiles; ///< the same, or none
};

enum class BigTiff { Never, IfNeeded, Always };

/// Writes a cloud-optimised GeoTIFF as GDAL lays it out: its block of structural metadata, the directories,
/// then the tiles of the smallest overview first and of the full size last, each after its size and before a
/// copy of its last four bytes, and each followed by that of the mask.
/// `main` has the tags of the full size; `levels` begin with it. `progress` gets the fraction done, and
/// cancels by returning false. False when it is cancelled or cannot be written; then GDAL's error handler is
/// told of a file that is too large.
[[nodiscard]] bool WriteCog(const std::string& file, const TiffDirectory& main,
                            const std::vector<CogLevel>& levels, TileSpool& spool, BigTiff bigTiff,
                            const std::function<bool(double)>& progress);

} // namespace rasterhost
