#pragma once

#include "fundament/LargeBytes.h"
#include "rasterhost/writing/TileEncoder.h"

#include <oneapi/tbb/enumerable_thread_specific.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class CPLStringList;

namespace rasterhost {

/// The compressed tiles of a window. Empty when the file stores tiles uncompressed.
struct PackedTiles {
    struct Place {
        std::size_t offset, size;
    };
    KOVA::Tessara::Fundament::LargeBytes bytes; ///< of the tiles, in any order
    std::vector<Place> places;                  ///< in `bytes`; along rows of tiles
};

/// A lossless compression.
struct TileCodec {
    const char* name; ///< value of the creation option
    std::uint16_t compression;
    const char* levelOption; ///< of a GeoTIFF, sets the compression level; may be null
    std::uint32_t levelTag;
    bool hasPredictor;

    /// Sets the form's level from the creation options of a GeoTIFF, since a file does not store it.
    void SetLevel(const CPLStringList& options, TileForm& form) const;
};

/// Null for a compression that libtiff does not have, or that is lossy.
[[nodiscard]] const TileCodec* FindTileCodec(const char* name);
[[nodiscard]] const TileCodec* FindTileCodec(std::uint16_t compression);

/// Compresses many tiles of one form in parallel.
class TilePacker {
public:
    explicit TilePacker(const TileForm& tileForm);

    [[nodiscard]] const TileForm& GetForm() const { return form; }
    [[nodiscard]] bool Compresses() const;
    [[nodiscard]] std::size_t CountTiles(std::uint32_t columns, std::uint32_t rows) const;
    /// Compresses consecutive tiles with the threads of the arena it is called in; they do nothing else
    /// meanwhile. Any number of calls may run in parallel. False when memory runs out or the codec fails.
    [[nodiscard]] bool Pack(std::size_t count, const unsigned char* tiles, PackedTiles& packed) const;

private:
    using Encoders = oneapi::tbb::enumerable_thread_specific<std::unique_ptr<TileEncoder>>;

    const TileForm form;
    mutable std::optional<Encoders> encoders; ///< one for each packing thread; none when nothing is packed
};

} // namespace rasterhost
