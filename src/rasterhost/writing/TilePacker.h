#pragma once

#include "rasterhost/writing/TileEncoder.h"

#include <oneapi/tbb/enumerable_thread_specific.h>

#include <cstdint>
#include <memory>
#include <vector>

class CPLStringList;

namespace rasterhost {

/// The compressed tiles of a window, along rows of tiles. Empty where a file holds its tiles as they are.
using PackedTiles = std::vector<std::vector<unsigned char>>;

/// A compression without loss.
struct TileCodec {
    const char* name; ///< as the creation option has it
    std::uint16_t compression;
    const char* levelOption; ///< of a GeoTIFF, sets how hard it tries; may be null
    std::uint32_t levelTag;
    bool hasPredictor;

    /// Sets the form's level by the creation options of a GeoTIFF; a file does not tell it.
    void SetLevel(const CPLStringList& options, TileForm& form) const;
};

/// Null for one that libtiff does not have, or that loses something.
[[nodiscard]] const TileCodec* FindTileCodec(const char* name);
[[nodiscard]] const TileCodec* FindTileCodec(std::uint16_t compression);

/// Compresses many tiles of a form at a time.
class TilePacker {
public:
    explicit TilePacker(const TileForm& tileForm) : form(tileForm) {}

    [[nodiscard]] const TileForm& GetForm() const { return form; }
    [[nodiscard]] bool Compresses() const;
    [[nodiscard]] std::size_t CountTiles(std::uint32_t columns, std::uint32_t rows) const;
    /// Compresses tiles that lie one after another, with the threads of the arena it is called in, which do
    /// nothing else meanwhile. Any number of calls at a time. False when memory runs out or the codec fails.
    [[nodiscard]] bool Pack(std::size_t count, const unsigned char* tiles, PackedTiles& packed) const;

private:
    using Encoders = oneapi::tbb::enumerable_thread_specific<std::unique_ptr<TileEncoder>>;

    const TileForm form;
    mutable Encoders encoders; ///< one for each thread that packs
};

} // namespace rasterhost
