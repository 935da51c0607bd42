#pragma once

#include "Child.h"

#include <string>
#include <vector>

/// Small rasters on disk, and the expected results of fusing them.
namespace scene {

/// Samples of all bands, band after band, each in rows from the top.
struct Raster {
    int columns = 0;
    int rows = 0;
    int bands = 0;
    int bits = 8;
    std::vector<unsigned> samples;

    [[nodiscard]] unsigned At(int band, int row, int column) const {
        return samples[(static_cast<std::size_t>(band) * static_cast<std::size_t>(rows) +
                        static_cast<std::size_t>(row)) *
                           static_cast<std::size_t>(columns) +
                       static_cast<std::size_t>(column)];
    }
};

/// Random samples, the same for the same seed.
[[nodiscard]] Raster MakeRaster(int columns, int rows, int bands, int bits, unsigned seed);

struct Placement {
    double x = 500000.0; ///< of the upper left corner
    double y = 4600000.0;
    double pixelSize = 10.0; ///< 0 for a file without georeferencing
    int epsg = 32631;        ///< 0 for none
};

void Write(const std::string& file, const Raster& raster, const Placement& placement);
/// Writes a file with one empty block, however large it claims to be.
void WriteSparse(const std::string& file, int columns, int rows, int bands, const Placement& placement);
[[nodiscard]] Raster Read(const std::string& file);

/// A pan image of 46 x 38 pixels in pan.tif and a multispectral one of half as many in ms.tif.
struct Pair {
    Pair(const child::Folder& folder, int bands, int bits);

    Raster pan;
    Raster ms;
};

/// Fuses the bands `wanted` (from 0) pixel by pixel from the definitions, by KOVA or Brovey.
[[nodiscard]] Raster Fuse(const std::string& method, const Raster& pan, const Raster& ms,
                          const std::vector<double>& weights, const std::vector<int>& wanted);

} // namespace scene
