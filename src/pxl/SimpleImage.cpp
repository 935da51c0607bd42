#include "pxl/SimpleImage.h"

namespace PXL {

template <class Raster, class HostRasterInfo, class T, class Allocator>
SimpleImage<Raster, HostRasterInfo, T, Allocator>::~SimpleImage() {
    Attach(nullptr, false);
}

template <class Raster, class HostRasterInfo, class T, class Allocator>
void SimpleImage<Raster, HostRasterInfo, T, Allocator>::Attach(Raster* newRaster, bool owned) {
    // The interface has a protected destructor: a raster is deleted through the root of its inheritance.
    if (ownsRaster && raster != newRaster) delete static_cast<KOVA::Tessara::Global::IObject*>(raster);
    raster = newRaster;
    ownsRaster = owned && newRaster;
}

template <class Raster, class HostRasterInfo, class T, class Allocator>
auto SimpleImage<Raster, HostRasterInfo, T, Allocator>::GetInfo() -> Info {
    if (info.rows != 0) return info;
    const HostRasterInfo* description = raster ? raster->GetRasterInfo() : nullptr;
    return description ? Info(*description) : Info();
}

template <class Raster, class HostRasterInfo, class T, class Allocator>
T* SimpleImage<Raster, HostRasterInfo, T, Allocator>::GetRow(std::uint32_t row) {
    if (!raster) return nullptr;
    // The interface of images returns rows as T*; nothing here writes to an input row.
    return reinterpret_cast<T*>(const_cast<unsigned char*>(raster->GetRow(row)));
}

template <class Raster, class HostRasterInfo, class T, class Allocator>
bool SimpleImage<Raster, HostRasterInfo, T, Allocator>::SetWindow(std::uint32_t col0, std::uint32_t row0,
                                                                  std::uint32_t col1, std::uint32_t row1) {
    this->status.Reset(0, {}, {}, {});
    if (!raster) return false;
    if (raster->SetWindow(col0, row0, col1, row1) != 0) return true;
    this->status.Append(raster->GetStatus());
    return false;
}

template <class Raster, class HostRasterInfo, class T, class Allocator>
bool SimpleImage<Raster, HostRasterInfo, T, Allocator>::SetInfo(const Info& description) {
    info = description;
    return true;
}

template class SimpleImage<KOVA::Tessara::Pixmere::IRaster, KOVA::Tessara::Pixmere::RasterInfo, unsigned char,
                           DefaultAllocator>;
template class SimpleImage<KOVA::Tessara::Pixmere::IRaster, KOVA::Tessara::Pixmere::RasterInfo,
                           unsigned short, DefaultAllocator>;

} // namespace PXL
