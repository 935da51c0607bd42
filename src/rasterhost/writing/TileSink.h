#pragma once

#include "rasterhost/writing/TilePacker.h"

#include <cstdint>

namespace rasterhost {

/// What takes the windows of a file in tiles of its layout.
class TileSink {
public:
    TileSink() = default;
    TileSink(const TileSink&) = delete;
    TileSink& operator=(const TileSink&) = delete;
    virtual ~TileSink() = default;

    /// Compresses whole rows, in tiles of the layout, with the threads of the arena it is called in. Any
    /// number of windows at a time. False when memory runs out or the codec fails.
    [[nodiscard]] virtual bool Pack(std::uint32_t rowCount, const unsigned char* tiles,
                                    PackedTiles& packed) const = 0;
    /// Writes whole rows, `packed` being what Pack made of `tiles`, and takes which of their pixels have
    /// data: a byte each, or null when all have. They start with a row of tiles and end with one, or with the
    /// image. Not for two threads at a time. GDAL's error handler is told of a failure.
    [[nodiscard]] virtual bool Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                                     const unsigned char* valid, PackedTiles& packed) = 0;
    /// Ends the writing of pixels. Once.
    [[nodiscard]] virtual bool Close() = 0;
};

} // namespace rasterhost
