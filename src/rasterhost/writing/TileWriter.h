#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/writing/TilePacker.h"
#include "rasterhost/writing/TileSink.h"

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
class TileWriter : public TileSink {
public:
    /// Whether a file made with these options ("NAME=VALUE") is of that kind. All their names are known to be
    /// honoured here; any other leaves the pixels to GDAL.
    [[nodiscard]] static bool CanWrite(const CPLStringList& creationOptions);
    /// Null when the file is not of that kind after all, or its tiles are not as `layout` has them.
    [[nodiscard]] static std::unique_ptr<TileWriter>
    Open(const std::string& file, const imagery::OutputLayout& layout, const CPLStringList& creationOptions);
    TileWriter(const TileWriter&) = delete;
    TileWriter& operator=(const TileWriter&) = delete;
    ~TileWriter() override;

    [[nodiscard]] bool Pack(std::uint32_t rowCount, const unsigned char* tiles,
                            PackedTiles& packed) const override;
    [[nodiscard]] bool Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                             const unsigned char* valid, PackedTiles& packed) override;
    [[nodiscard]] bool Close() override;

private:
    TileWriter() = default;

    tiff* file = nullptr;
    std::uint32_t columns = 0;
    std::unique_ptr<TilePacker> packer;
};

} // namespace rasterhost
