#pragma once

#include "rasterhost/reading/LocalTiff.h"
#include "rasterhost/writing/OutputMask.h"
#include "rasterhost/writing/TileEncoder.h"

#include <cstdint>
#include <memory>
#include <string>

namespace rasterhost {

/// Writes the mask of a GeoTIFF that GDAL has made a mask for and closed, one bit per pixel. GDAL would take
/// the mask apart into bytes and compress every tile, though most are like the one before.
class MaskWriter {
public:
    /// Null when the file has no mask of such tiles, which is then left to GDAL.
    [[nodiscard]] static std::unique_ptr<MaskWriter> Open(const std::string& name);
    MaskWriter(const MaskWriter&) = delete;
    MaskWriter& operator=(const MaskWriter&) = delete;

    /// Writes all rows and closes the file. False when memory runs out or libtiff fails.
    [[nodiscard]] bool Write(const OutputMask& mask);

private:
    MaskWriter() = default;

    LocalTiff file;
    TileForm form;
    std::uint32_t columns = 0, rows = 0;
};

} // namespace rasterhost
