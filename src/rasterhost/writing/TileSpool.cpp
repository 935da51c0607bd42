#include "rasterhost/writing/TileSpool.h"

#include <utility>

namespace rasterhost {

TileSpool::~TileSpool() {
    if (!file) return;
    VSIFCloseL(file);
    VSIUnlink(name.c_str());
}

bool TileSpool::Add(std::vector<unsigned char>&& tile, std::vector<TilePlace>& places) {
    if (bytesHeld + tile.size() > most) return Write(tile.data(), tile.size(), places);
    bytesHeld += tile.size();
    places.push_back({0, static_cast<std::uint32_t>(tile.size()), std::move(tile)});
    return true;
}

bool TileSpool::Add(const unsigned char* tile, std::size_t bytes, std::vector<TilePlace>& places) {
    const bool isHeld = bytesHeld + bytes <= most;
    return isHeld ? Add(std::vector<unsigned char>(tile, tile + bytes), places) : Write(tile, bytes, places);
}

bool TileSpool::Write(const unsigned char* tile, std::size_t bytes, std::vector<TilePlace>& places) {
    if (!file) file = VSIFOpenL(name.c_str(), "wb+");
    if (!file || VSIFWriteL(tile, 1, bytes, file) != bytes) return false;
    places.push_back({bytesWritten, static_cast<std::uint32_t>(bytes)});
    bytesWritten += bytes;
    return true;
}

const unsigned char* TileSpool::Get(const TilePlace& place, std::vector<unsigned char>& room) {
    if (!place.held.empty()) return place.held.data();
    room.resize(place.bytes);
    return VSIFSeekL(file, place.offset, SEEK_SET) == 0 &&
                   VSIFReadL(room.data(), 1, place.bytes, file) == place.bytes
               ? room.data()
               : nullptr;
}

} // namespace rasterhost
