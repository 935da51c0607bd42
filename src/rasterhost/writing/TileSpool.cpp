#include "rasterhost/writing/TileSpool.h"

namespace rasterhost {

TileSpool::TileSpool(const std::string& fileName)
    : name(fileName), file(VSIFOpenL(fileName.c_str(), "wb+")) {}

TileSpool::~TileSpool() {
    if (!file) return;
    VSIFCloseL(file);
    VSIUnlink(name.c_str());
}

bool TileSpool::Add(const unsigned char* tile, std::size_t bytes, std::vector<TilePlace>& places) {
    if (VSIFWriteL(tile, 1, bytes, file) != bytes) return false;
    places.push_back({bytesAdded, static_cast<std::uint32_t>(bytes)});
    bytesAdded += bytes;
    return true;
}

bool TileSpool::Read(const TilePlace& place, unsigned char* tile) {
    return VSIFSeekL(file, place.offset, SEEK_SET) == 0 &&
           VSIFReadL(tile, 1, place.bytes, file) == place.bytes;
}

} // namespace rasterhost
