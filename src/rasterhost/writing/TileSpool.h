#pragma once

#include "rasterhost/writing/TilePacker.h"

#include <cpl_vsi.h>

#include <cstdint>
#include <string>
#include <vector>

namespace rasterhost {

/// Where a tile lies in a file.
struct TilePlace {
    std::uint64_t offset = 0;
    std::uint32_t bytes = 0;
};

/// A file of tiles that wait for their place in the output. It is removed with this object.
class TileSpool {
public:
    explicit TileSpool(const std::string& fileName);
    TileSpool(const TileSpool&) = delete;
    TileSpool& operator=(const TileSpool&) = delete;
    ~TileSpool();

    /// Adds a tile and its place. False when it cannot be written.
    [[nodiscard]] bool Add(const unsigned char* tile, std::size_t bytes, std::vector<TilePlace>& places);
    /// Reads a tile into memory that has room for it. False when it cannot be read.
    [[nodiscard]] bool Read(const TilePlace& place, unsigned char* tile);
    [[nodiscard]] bool IsOpen() const { return file != nullptr; }

private:
    std::string name;
    VSILFILE* file = nullptr;
    std::uint64_t bytesAdded = 0;
};

} // namespace rasterhost
