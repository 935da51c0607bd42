#pragma once

#include "fundament/PropertyLookUp.h"
#include "host/RasterInfo.h"

#include <cstdint>
#include <string>

namespace PXL {

/// The name of a host colour-space code: "Gray", "RGB", "CMYK", "HSI", "Paletted", or "Unknown" for any other
/// code.
[[nodiscard]] std::string ColorSpaceName(std::uint32_t code);

/// Description of an image. A value type.
template <class HostRasterInfo>
class SimpleImageInfo {
public:
    SimpleImageInfo() { properties["ColorSpace"] = "Unknown"; }

    /// Converts the host's description of a raster.
    explicit SimpleImageInfo(const HostRasterInfo& raster)
        : rows(raster.rows), cols(raster.cols), bands(raster.bandsPerPixel),
          bitsPerSample(raster.bitsPerBand), originX(raster.xMin), originY(raster.yMax),
          pixelSizeX(raster.pixelSizeX), pixelSizeY(raster.pixelSizeY), pixelKind(raster.pixelKind) {
        properties["ColorSpace"] = ColorSpaceName(raster.colorSpace);
    }

    std::uint32_t rows = 0;                              ///< pixels down
    std::uint32_t cols = 0;                              ///< pixels across
    std::uint32_t bands = 1;                             ///< samples per pixel
    std::uint32_t bitsPerSample = 8;                     ///< 8 or 16
    double originX = 0.0;                                ///< of the upper-left corner, in map units
    double originY = 0.0;                                ///< of the same corner
    double pixelSizeX = 0.0;                             ///< pixel width in map units
    double pixelSizeY = 0.0;                             ///< pixel height in map units
    std::uint32_t pixelKind = 0;                         ///< carried unchanged
    KOVA::Tessara::Fundament::PropertyLookUp properties; ///< "ColorSpace": a name as from ColorSpaceName
};

using ImageInfo = SimpleImageInfo<KOVA::Tessara::Pixmere::RasterInfo>;

} // namespace PXL
