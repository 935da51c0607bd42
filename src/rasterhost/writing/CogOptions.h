#pragma once

#include "rasterhost/writing/CogFile.h"

class CPLStringList;

namespace rasterhost {

/// True when these creation options of a cloud-optimised GeoTIFF ask only for what CogWriter does: lossless
/// compression, and overviews by the cubic kernel or none. `tiffOptions` gets the options of a GeoTIFF with
/// such tiles. Everything else is left to GDAL's driver.
[[nodiscard]] bool PlanCog(const CPLStringList& cogOptions, CPLStringList& tiffOptions);

[[nodiscard]] BigTiff BigTiffOf(const CPLStringList& cogOptions);
/// The sizes of the full size and of the overviews that GDAL makes: each half of the one before, rounded
/// down, until all of it fits into a tile.
[[nodiscard]] std::vector<CogLevel> LevelsOf(const CPLStringList& cogOptions, std::uint32_t columns,
                                             std::uint32_t rows, std::uint32_t tileSide);

} // namespace rasterhost
