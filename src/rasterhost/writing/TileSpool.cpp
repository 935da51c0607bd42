#include "rasterhost/writing/TileSpool.h"

#include <algorithm>
#include <utility>

namespace rasterhost {

using KOVA::Tessara::Fundament::LargeBytes;
using KOVA::Tessara::Fundament::largePage;

TileSpool::~TileSpool() {
    if (!file) return;
    VSIFCloseL(file);
    VSIUnlink(name.c_str());
}

bool TileSpool::Add(PackedTiles& window, std::vector<TilePlace>& places) {
    const std::uint64_t used = window.bytes.size();
    const std::uint64_t there =
        std::min<std::uint64_t>(window.bytes.capacity(), (used + largePage - 1) / largePage * largePage);
    const bool isTaken = used >= there - there / 4;
    const std::uint64_t bytes = isTaken ? there : used;
    const bool isHeld = bytesHeld + bytes <= most;
    if (isHeld) {
        bytesHeld += bytes;
        blocks.push_back(isTaken ? std::exchange(window.bytes, {}) : LargeBytes(window.bytes));
    }
    const unsigned char* from = isHeld ? blocks.back().data() : window.bytes.data();
    for (const PackedTiles::Place& tile : window.places) {
        if (isHeld)
            places.push_back({0, static_cast<std::uint32_t>(tile.size), from + tile.offset});
        else if (!Write(from + tile.offset, tile.size, places))
            return false;
    }
    return true;
}

bool TileSpool::Add(const unsigned char* tile, std::size_t bytes, std::vector<TilePlace>& places) {
    if (bytesHeld + bytes > most) return Write(tile, bytes, places);
    PackedTiles copy{{tile, tile + bytes}, {{0, bytes}}};
    return Add(copy, places);
}

bool TileSpool::Write(const unsigned char* tile, std::size_t bytes, std::vector<TilePlace>& places) {
    if (!file) file = VSIFOpenL(name.c_str(), "wb+");
    if (!file || VSIFWriteL(tile, 1, bytes, file) != bytes) return false;
    places.push_back({bytesWritten, static_cast<std::uint32_t>(bytes)});
    bytesWritten += bytes;
    return true;
}

const unsigned char* TileSpool::Get(const TilePlace& place, std::vector<unsigned char>& room) {
    if (place.held) return place.held;
    room.resize(place.bytes);
    return VSIFSeekL(file, place.offset, SEEK_SET) == 0 &&
                   VSIFReadL(room.data(), 1, place.bytes, file) == place.bytes
               ? room.data()
               : nullptr;
}

} // namespace rasterhost
