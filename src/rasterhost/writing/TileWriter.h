#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/reading/LocalTiff.h"
#include "rasterhost/writing/TilePacker.h"
#include "rasterhost/writing/TileSink.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class CPLStringList;

namespace rasterhost {

/// Writes the pixels of a GeoTIFF that GDAL has created and closed, tile by tile, if bands are interleaved by
/// pixel and the compression is lossless. GDAL would split such tiles by band and join them again, which
/// costs more than all other work of a run, and would compress on threads that compete with those that fuse.
class TileWriter : public TileSink {
public:
    /// Whether a file made with these options ("NAME=VALUE") can be written here. All option names that it
    /// accepts are honoured; any other leaves the pixels to GDAL.
    [[nodiscard]] static bool CanWrite(const CPLStringList& creationOptions);
    /// Null when the file cannot be written here after all, or when its tiles do not match `layout`.
    [[nodiscard]] static std::unique_ptr<TileWriter>
    Open(const std::string& file, const imagery::OutputLayout& layout, const CPLStringList& creationOptions);
    TileWriter(const TileWriter&) = delete;
    TileWriter& operator=(const TileWriter&) = delete;

    [[nodiscard]] bool SharesWork() const override { return packer->Compresses(); }
    [[nodiscard]] bool Pack(std::uint32_t rowCount, const unsigned char* tiles,
                            PackedTiles& packed) const override;
    [[nodiscard]] bool Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                             const OutputMask& mask, PackedTiles& packed) override;
    [[nodiscard]] bool Close() override;

private:
    TileWriter() = default;

    LocalTiff file;
    std::uint32_t columns = 0;
    std::unique_ptr<TilePacker> packer;
};

} // namespace rasterhost
