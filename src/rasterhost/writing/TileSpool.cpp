#include "rasterhost/writing/TileSpool.h"

namespace rasterhost {

TileSpool::~TileSpool() {
    if (!file) return;
    VSIFCloseL(file);
    VSIUnlink(name.c_str());
}

bool TileSpool::Add(std::vector<unsigned char>&& tile, std::vector<TilePlace>& places) {
    const std::size_t bytes = tile.size();
    const bool isHeld = bytesHeld + bytes <= most;
    if (isHeld) {
        places.push_back({0, static_cast<std::uint32_t>(bytes), std::move(tile)});
        bytesHeld += bytes;
        return true;
    }
    if (!file) file = VSIFOpenL(name.c_str(), "wb+");
    if (!file || VSIFWriteL(tile.data(), 1, bytes, file) != bytes) return false;
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
