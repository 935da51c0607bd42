#pragma once

#include "hostkit/ImageSource.h"
#include "rasterhost/requests/HostStatus.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace rasterhost {

/// A reduced image that is kept in memory, tile by tile as tiles are asked for. Coarser levels that are made
/// of it read no more files. For any number of threads.
class ReducedStore {
public:
    /// Images are kept reduced by 2^level from this level on, the first that fits into memory whole.
    static constexpr unsigned leastLevel = 3;

    /// Of a part of an image, within this many bytes.
    ReducedStore(const hostkit::ImageSource::RasterInfo& image, const hostkit::PixelRect& part,
                 std::size_t mostBytes);

    [[nodiscard]] unsigned GetLevel() const { return level; }
    [[nodiscard]] const hostkit::ImageSource::RasterInfo& GetInfo() const { return info; }
    /// Samples and one byte per pixel, 0 without data; either may be null. Tiles that are not there yet are
    /// read from `reduced`, the same image. False with an item.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, hostkit::ImageSource& reduced,
                            unsigned char* samples, unsigned char* valid, Status& status);

private:
    struct Tile {
        hostkit::PixelRect rect;
        std::vector<unsigned short> samples; ///< as bytes where the depth is 8 bits
        std::vector<unsigned char> valid;    ///< empty where no pixel lacks data
    };
    std::shared_ptr<const Tile> GetTile(std::uint32_t column, std::uint32_t row,
                                        hostkit::ImageSource& reduced, Status& status);

    unsigned level = leastLevel;
    hostkit::ImageSource::RasterInfo info;
    std::mutex mutex;
    std::vector<std::shared_ptr<const Tile>> tiles; ///< null where nobody asked yet
};

/// An image of a store for one thread.
class StoredImage final : public hostkit::ImageSource {
public:
    /// `reducedImage` is what the store keeps. Both outlive this.
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
