#pragma once

#include "rasterhost/OutputRow.h"

#include <cstdint>
#include <memory>
#include <string>

struct tiff;

namespace rasterhost {

/// Writes the pixels of a GeoTIFF that GDAL has made and closed, tile by tile, where that is a plain copy:
/// uncompressed tiles, bands interleaved by pixel. GDAL takes such tiles apart by band and puts them together
/// again, which costs more than all else in a run. Not for two threads at a time.
class TileWriter {
public:
    /// Null when the file is not of that kind; its pixels are then GDAL's to write.
    [[nodiscard]] static std::unique_ptr<TileWriter> Open(const std::string& file);
    TileWriter(const TileWriter&) = delete;
    TileWriter& operator=(const TileWriter&) = delete;
    ~TileWriter();

    [[nodiscard]] OutputLayout GetLayout() const { return {tileColumns, tileRows}; }
    /// Writes whole rows, in tiles of GetLayout(). They start with a row of tiles and end with one, or with
    /// the image. libtiff's error handler, which is GDAL's, hears of a failure.
    [[nodiscard]] bool Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles);
    [[nodiscard]] bool Close();

private:
    TileWriter() = default;

    tiff* file = nullptr;
    std::uint32_t columns = 0;
    std::uint32_t tileColumns = 0;
    std::uint32_t tileRows = 0;
    std::size_t tileBytes = 0;
};

} // namespace rasterhost
