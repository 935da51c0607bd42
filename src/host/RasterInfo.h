#pragma once

#include <cstdint>
#include <vector>

namespace KOVA::Tessara::Pixmere {

/// Three values that belong to one band; not interpreted.
struct BandRecord {
    double first = 0.0;
    double second = 0.0;
    double third = 0.0;
};

/// Description of a raster. Copied by value.
struct RasterInfo {
    double pixelSizeX = 0.0; ///< cell size in map units
    double pixelSizeY = 0.0;
    std::uint32_t rows = 0;
    std::uint32_t cols = 0;
    std::uint32_t bandsPerPixel = 0;
    std::uint32_t bitsPerBand = 0; ///< 8 or 16 for this plug-in
    std::uint32_t colorSpace = 0;  ///< 0 "Gray", 1 "RGB", 2 "CMYK", 5 "HSI", 7 "Paletted", else "Unknown"
    std::uint32_t pixelKind = 0;   ///< carried unchanged
    std::vector<std::uint32_t> bandIds;
    std::vector<BandRecord> bandRecords;
    double xMin = 0.0; ///< world extent: xMax = xMin + cols * pixelSizeX, yMin = yMax - rows * pixelSizeY
    double xMax = 0.0;
    double yMin = 0.0;
    double yMax = 0.0;
    double reserved1 = 0.0; ///< the last three are not interpreted
    double reserved2 = 0.0;
    std::uint32_t reserved3 = 0;
};

} // namespace KOVA::Tessara::Pixmere
