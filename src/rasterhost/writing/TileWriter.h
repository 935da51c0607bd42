#pragma once

#include "rasterhost/writing/OutputWindow.h"
#include "rasterhost/writing/TileEncoder.h"

#include <oneapi/tbb/enumerable_thread_specific.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class CPLStringList;
struct tiff;

namespace rasterhost {

/// Writes the pixels of a GeoTIFF that GDAL has made and closed, tile by tile, where bands are interleaved by
/// pixel and nothing is lost. GDAL takes such tiles apart by band and puts them together again, which costs
/// more than all else in a run, and compresses beside the threads that fuse.
class TileWriter {
public:
    /// Whether a file made with these options ("NAME=VALUE") is of that kind. All their names are known to be
    /// honoured here; any other leaves the pixels to GDAL.
    [[nodiscard]] static bool CanWrite(const CPLStringList& creationOptions);
    /// Null when the file is not of that kind after all, or its tiles are not as `layout` has them.
    [[nodiscard]] static std::unique_ptr<TileWriter>
    Open(const std::string& file, const imagery::OutputLayout& layout, const CPLStringList& creationOptions);
    TileWriter(const TileWriter&) = delete;
    TileWriter& operator=(const TileWriter&) = delete;
    ~TileWriter();

    /// Compresses whole rows, in tiles of the layout, with the threads of the arena it is called in. Any
    /// number of windows at a time. False when memory runs out or the codec fails.
    [[nodiscard]] bool Pack(std::uint32_t rowCount, const unsigned char* tiles, PackedTiles& packed) const;
    /// Writes whole rows, `packed` being what Pack made of `tiles`. They start with a row of tiles and end
    /// with one, or with the image. Not for two threads at a time. libtiff's error handler, which is GDAL's,
    /// is told of a failure.
    [[nodiscard]] bool Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                             PackedTiles& packed);
    [[nodiscard]] bool Close();

private:
    using Encoders = oneapi::tbb::enumerable_thread_specific<std::unique_ptr<TileEncoder>>;

    TileWriter() = default;

    tiff* file = nullptr;
    std::uint32_t columns = 0;
    TileForm form;
    mutable Encoders encoders; ///< one for each thread that packs
};

} // namespace rasterhost
