#pragma once

#include "host/IRaster.h"
#include "pxl/ImageBase.h"

namespace PXL {

/// The leaf of every pipeline: an image whose rows come from a host raster without a copy. It records nothing
/// itself; when the raster refuses a window, the raster's items are left in `status`.
template <class Raster, class HostRasterInfo, class T, class Allocator>
class SimpleImage final
    : public ImageBase<SimpleImageInfo<HostRasterInfo>, T*, SimpleRowTraits<T, Allocator>> {
public:
    using Info = SimpleImageInfo<HostRasterInfo>;

    SimpleImage() = default;
    SimpleImage(const SimpleImage&) = delete;
    SimpleImage& operator=(const SimpleImage&) = delete;
    virtual ~SimpleImage();

    /// Attaches a raster; null detaches. An owned raster that is replaced is destroyed.
    void Attach(Raster* newRaster, bool owned);

    /// The description set with SetInfo if that has rows, else the raster's, converted anew at each call. A
    /// description of 0 rows without a raster, or when the raster has no description.
    Info GetInfo() override;
    T* GetRow(std::uint32_t row) override; ///< the raster's row, unchecked; null without a raster
    T* GetNextRow() override { return nullptr; }
    /// Sets the window of the raster, and empties the status first. False without a raster.
    bool SetWindow(std::uint32_t col0, std::uint32_t row0, std::uint32_t col1, std::uint32_t row1) override;

    virtual bool SetInfo(const Info& description); ///< replaces the raster's description; always true
    virtual KOVA::Tessara::Fundament::PropertyLookUp& GetMetadataStore() { return this->metadata; }

private:
    bool ownsRaster = false;
    Raster* raster = nullptr;
    Info info;
};

template <class T>
using RasterImage =
    SimpleImage<KOVA::Tessara::Pixmere::IRaster, KOVA::Tessara::Pixmere::RasterInfo, T, DefaultAllocator>;
using SimpleImage8 = RasterImage<unsigned char>;
using SimpleImage16 = RasterImage<unsigned short>;

} // namespace PXL
