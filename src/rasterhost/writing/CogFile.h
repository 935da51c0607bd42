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
    std::vector<TilePlace> maskTiles; ///< the same for the mask; empty without one
};

enum class BigTiff { Never, IfNeeded, Always };

/// Writes a cloud-optimised GeoTIFF in GDAL's layout. The block of structural metadata comes first, then the
/// directories, then the tiles, from those of the smallest overview to those of the full size. Each tile
/// stands after its size and before a copy of its last four bytes, and is followed by its mask tile.
///
/// `main` has the tags of the full size; `levels` begin with the full size. `progress` gets the fraction done
/// and cancels by returning false. False when it is cancelled or cannot be written; a file that is too large
/// is reported to GDAL's error handler.
[[nodiscard]] bool WriteCog(const std::string& file, const TiffDirectory& main,
                            const std::vector<CogLevel>& levels, TileSpool& spool, BigTiff bigTiff,
                            const std::function<bool(double)>& progress);

} // namespace rasterhost
