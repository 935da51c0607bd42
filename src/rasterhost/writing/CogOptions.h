#pragma once

#include "rasterhost/writing/CogFile.h"

class CPLStringList;

namespace rasterhost {

/// True when these creation options of a cloud-optimised GeoTIFF ask for nothing but what CogWriter does:
/// compression without loss, and overviews by the cubic kernel. `tiffOptions` gets those of a GeoTIFF with
/// tiles of the same kind. All else is left to GDAL's driver.
[[nodiscard]] bool PlanCog(const CPLStringList& cogOptions, CPLStringList& tiffOptions);

[[nodiscard]] BigTiff BigTiffOf(const CPLStringList& cogOptions);
/// The sides of the full size and of the overviews that GDAL makes: each half of the one before, rounded
/// down, until all of it is within a tile.
[[nodiscard]] std::vector<CogLevel> LevelsOf(const CPLStringList& cogOptions, std::uint32_t columns,
                                             std::uint32_t rows, std::uint32_t tileSide);

} // namespace rasterhost
