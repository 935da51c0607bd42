#pragma once

#include <cstdint>
#include <vector>

namespace KOVA::Tessara::Pixmere {

/// Three values for one band; not interpreted.
struct BandRecord {
    double first = 0.0;  ///< not interpreted
    double second = 0.0; ///< not interpreted
    double third = 0.0;  ///< not interpreted
};

/// Description of a raster. Copied by value.
struct RasterInfo {
    double pixelSizeX = 0.0;         ///< pixel width in map units
    double pixelSizeY = 0.0;         ///< pixel height in map units
    std::uint32_t rows = 0;          ///< pixels down
    std::uint32_t cols = 0;          ///< pixels across
    std::uint32_t bandsPerPixel = 0; ///< samples per pixel
    std::uint32_t bitsPerBand = 0;   ///< 8 or 16 for this plug-in
    std::uint32_t colorSpace = 0;    ///< 0 "Gray", 1 "RGB", 2 "CMYK", 5 "HSI", 7 "Paletted", else "Unknown"
    std::uint32_t pixelKind = 0;     ///< carried unchanged
    std::vector<std::uint32_t> bandIds;  ///< carried unchanged
    std::vector<BandRecord> bandRecords; ///< one per band; carried unchanged
    double xMin = 0.0; ///< world extent: xMax = xMin + cols * pixelSizeX, yMin = yMax - rows * pixelSizeY
    double xMax = 0.0; ///< right bound
    double yMin = 0.0; ///< lower bound
    double yMax = 0.0; ///< upper bound
    double reserved1 = 0.0;      ///< not interpreted
    double reserved2 = 0.0;      ///< not interpreted
    std::uint32_t reserved3 = 0; ///< not interpreted
};

} // namespace KOVA::Tessara::Pixmere
