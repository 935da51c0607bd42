#include "rasterhost/writing/TileSpool.h"

#include <utility>

namespace rasterhost {

TileSpool::~TileSpool() {
    if (!file) return;
    VSIFCloseL(file);
    VSIUnlink(name.c_str());
}

bool TileSpool::Add(PackedTiles& window, std::vector<TilePlace>& places) {
    const bool isHeld = bytesHeld + window.bytes.size() <= most;
    for (const PackedTiles::Place& tile : window.places) {
        const unsigned char* bytes = window.bytes.data() + tile.offset;
        if (isHeld)
            places.push_back({0, static_cast<std::uint32_t>(tile.size), bytes});
        else if (!Write(bytes, tile.size, places))
            return false;
    }
    if (!isHeld) return true;
    bytesHeld += window.bytes.size();
    blocks.push_back(std::exchange(window.bytes, {}));
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
