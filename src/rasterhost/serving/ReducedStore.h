#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/requests/HostStatus.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace rasterhost {

/// A reduced image in memory, filled tile by tile on demand. Coarser levels are made from it without reading
/// files again. Any number of threads may use it.
class ReducedStore {
public:
    /// Images are stored reduced by 2^leastLevel: the first level that fits into memory completely.
    static constexpr unsigned leastLevel = 3;

    /// For a part of an image. It holds at most `mostBytes` bytes.
    ReducedStore(const hostkit::ImageSource::RasterInfo& image, const hostkit::PixelRect& part,
                 std::size_t mostBytes);

    [[nodiscard]] unsigned GetLevel() const { return level; }
    [[nodiscard]] const hostkit::ImageSource::RasterInfo& GetInfo() const { return info; }
    /// Writes samples and a mask, one byte per pixel, 0 without data; either pointer may be null. Missing
    /// tiles are read from `reduced`, the same image. False with an item.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, hostkit::ImageSource& reduced,
                            unsigned char* samples, unsigned char* valid, Status& status);

private:
    struct Tile {
        hostkit::PixelRect rect;
        std::vector<unsigned short> samples; ///< as bytes when the depth is 8 bits
        std::vector<unsigned char> valid;    ///< empty when no pixel lacks data
    };
    std::shared_ptr<const Tile> GetTile(std::uint32_t column, std::uint32_t row,
                                        hostkit::ImageSource& reduced, Status& status);

    unsigned level = leastLevel;
    hostkit::ImageSource::RasterInfo info;
    std::mutex mutex;
    std::vector<std::shared_ptr<const Tile>> tiles; ///< null until asked for
};

/// A stored image, for use by one thread.
class StoredImage final : public hostkit::ImageSource {
public:
    /// `reducedImage` is the image that the store holds. Both must outlive this.
    StoredImage(ReducedStore& reducedStore, hostkit::ImageSource& reducedImage)
        : store(reducedStore), reduced(reducedImage) {}

    [[nodiscard]] const RasterInfo& GetInfo() const override { return store.GetInfo(); }
    [[nodiscard]] std::string GetName() const override { return reduced.GetName(); }
    [[nodiscard]] bool MayLackData() const override { return reduced.MayLackData(); }
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) override {
        return store.Read(rect, reduced, out, nullptr, status);
    }
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char*, unsigned char* valid,
                                 Status& status) override {
        return store.Read(rect, reduced, nullptr, valid, status);
    }

private:
    ReducedStore& store;
    hostkit::ImageSource& reduced;
};

} // namespace rasterhost
