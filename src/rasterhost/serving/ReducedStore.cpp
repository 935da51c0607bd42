#include "rasterhost/serving/ReducedStore.h"

#include "hostkit/Coarsening.h"

#include <algorithm>
#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;

namespace {

constexpr std::uint32_t tileSide = 128;

std::uint32_t CountTiles(std::uint32_t pixels) { return (pixels - 1) / tileSide + 1; }

/// Copies the pixels that two rectangles share. Both are stored row by row.
void CopyShared(const unsigned char* from, const PixelRect& fromRect, std::size_t pixelBytes,
                unsigned char* to, const PixelRect& toRect) {
    const PixelRect shared{std::max(fromRect.col0, toRect.col0), std::max(fromRect.row0, toRect.row0),
                           std::min(fromRect.col1, toRect.col1), std::min(fromRect.row1, toRect.row1)};
    const auto at = [&](const PixelRect& rect, std::uint32_t row) {
        return (std::size_t{row - rect.row0} * rect.GetColumns() + (shared.col0 - rect.col0)) * pixelBytes;
    };
    for (std::uint32_t row = shared.row0; row < shared.row1; ++row)
        std::memcpy(to + at(toRect, row), from + at(fromRect, row), shared.GetColumns() * pixelBytes);
}

} // namespace

ReducedStore::ReducedStore(const hostkit::ImageSource::RasterInfo& image, const PixelRect& part,
                           std::size_t mostBytes) {
    const auto bytes = [&] {
        info = hostkit::CoarseInfo(image, part, level);
        return std::size_t{info.cols} * info.rows * (hostkit::PixelBytes(info) + 1);
    };
    while (bytes() > mostBytes)
        ++level;
    tiles.resize(std::size_t{CountTiles(info.cols)} * CountTiles(info.rows));
}

std::shared_ptr<const ReducedStore::Tile> ReducedStore::GetTile(std::uint32_t column, std::uint32_t row,
                                                                hostkit::ImageSource& reduced,
                                                                Status& status) {
    auto& place = tiles[std::size_t{row} * CountTiles(info.cols) + column];
    {
        const std::lock_guard lock(mutex);
        if (place) return place;
    }
    auto tile = std::make_shared<Tile>();
    PixelRect& rect = tile->rect;
    rect = {column * tileSide, row * tileSide, std::min((column + 1) * tileSide, info.cols),
            std::min((row + 1) * tileSide, info.rows)};
    const std::size_t pixels = std::size_t{rect.GetColumns()} * rect.GetRows();
    tile->samples.resize((pixels * hostkit::PixelBytes(info) + 1) / 2);
    auto* samples = reinterpret_cast<unsigned char*>(tile->samples.data());
    if (!reduced.Read(rect, samples, status)) return nullptr;
    if (reduced.MayLackData()) {
        tile->valid.resize(pixels);
        if (!reduced.ReadValid(rect, samples, tile->valid.data(), status)) return nullptr;
    }
    const std::lock_guard lock(mutex);
    if (!place) place = std::move(tile); // another thread may have made it meanwhile
    return place;
}

bool ReducedStore::Read(const PixelRect& rect, hostkit::ImageSource& reduced, unsigned char* samples,
                        unsigned char* valid, Status& status) {
    if (valid && !reduced.MayLackData()) {
        std::memset(valid, 0xFF, std::size_t{rect.GetColumns()} * rect.GetRows());
        valid = nullptr;
    }
    for (std::uint32_t row = rect.row0 / tileSide; row < CountTiles(rect.row1); ++row)
        for (std::uint32_t column = rect.col0 / tileSide; column < CountTiles(rect.col1); ++column) {
            const auto tile = GetTile(column, row, reduced, status);
            if (!tile) return false;
            if (samples)
                CopyShared(reinterpret_cast<const unsigned char*>(tile->samples.data()), tile->rect,
                           hostkit::PixelBytes(info), samples, rect);
            if (valid) CopyShared(tile->valid.data(), tile->rect, 1, valid, rect);
        }
    return true;
}

} // namespace rasterhost
