#pragma once

#include "rasterhost/writing/OutputMask.h"
#include "rasterhost/writing/TilePacker.h"

#include <cstdint>

namespace rasterhost {

/// Takes the windows of a file as tiles in its layout.
class TileSink {
public:
    TileSink() = default;
    TileSink(const TileSink&) = delete;
    TileSink& operator=(const TileSink&) = delete;
    virtual ~TileSink() = default;

    /// True when Pack or Write use the threads of the arena that they are called in.
    [[nodiscard]] virtual bool SharesWork() const = 0;
    /// Compresses full rows, given as tiles of the layout, with the threads of the arena it is called in. Any
    /// number of windows may be packed in parallel. False when memory runs out or the codec fails.
    [[nodiscard]] virtual bool Pack(std::uint32_t rowCount, const unsigned char* tiles,
                                    PackedTiles& packed) const = 0;
    /// Writes full rows and their mask: `packed` is what Pack made of `tiles`. The rows begin with a row of
    /// tiles and end with one, or with the image. One thread at a time. False on failure, which is reported
    /// to GDAL's error handler.
    [[nodiscard]] virtual bool Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                                     const OutputMask& mask, PackedTiles& packed) = 0;
    /// Ends the writing of pixels. Call it once. False on failure.
    [[nodiscard]] virtual bool Close() = 0;
};

} // namespace rasterhost
