#pragma once

#include "rasterhost/writing/TilePacker.h"

#include <cpl_vsi.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rasterhost {

/// A waiting tile: in memory, or at an offset of the file.
struct TilePlace {
    std::uint64_t offset = 0;
    std::uint32_t bytes = 0;
    const unsigned char* held = nullptr; ///< its bytes, in memory of the spool
};

/// Holds tiles that wait for their place in the output: the first ones in memory, the others in a file that
/// is removed with this object.
class TileSpool {
public:
    /// The most bytes held in memory.
    static constexpr std::uint64_t mostHeld = std::uint64_t{64} << 20;

    explicit TileSpool(const std::string& fileName, std::uint64_t bytesToHold = mostHeld)
        : name(fileName), most(bytesToHold) {}
    TileSpool(const TileSpool&) = delete;
    TileSpool& operator=(const TileSpool&) = delete;
    ~TileSpool();

    /// Adds a copy of a tile of `bytes` bytes, and appends its place to `places`. False when it cannot be
    /// written.
    [[nodiscard]] bool Add(const unsigned char* tile, std::size_t bytes, std::vector<TilePlace>& places);
    /// The same for the tiles of a window, usually without a copy: the spool then takes their memory.
    [[nodiscard]] bool Add(PackedTiles& window, std::vector<TilePlace>& places);
    /// The bytes of a tile, in `room` if it was in the file. Null when it cannot be read.
    [[nodiscard]] const unsigned char* Get(const TilePlace& place, std::vector<unsigned char>& room);

private:
    bool Write(const unsigned char* tile, std::size_t bytes, std::vector<TilePlace>& places);

    const std::string name;
    const std::uint64_t most;
    VSILFILE* file = nullptr;
    std::vector<KOVA::Tessara::Fundament::LargeBytes> blocks; ///< that tiles are held in
    std::uint64_t bytesHeld = 0;
    std::uint64_t bytesWritten = 0;
};

} // namespace rasterhost
