#include "rasterhost/GdalRaster.h"

#include "hostkit/RequestRecord.h"

namespace rasterhost {

GdalRaster::GdalRaster(const InputImage& source) : RasterBase("Host.GdalRaster"), image(source) {
    info = image.GetInfo();
    available = hostkit::WholeImage(info);
}

bool GdalRaster::OpenWindow(const hostkit::PixelRect& wanted) {
    if (isLoaded && wanted == window) return true;
    isLoaded = false;
    window = {}; // the buffer belongs to no window until it is filled
    const std::size_t rowBytes = wanted.GetColumns() * hostkit::PixelBytes(info);
    const std::size_t bytes = rowBytes * wanted.GetRows();
    if (buffer.size() < bytes) buffer.resize(bytes);
    status.Reset(0, {}, {}, {});
    isLoaded = image.Read(wanted, buffer.data(), status);
    return isLoaded;
}

const unsigned char* GdalRaster::GetRow(std::uint32_t row) {
    try {
        return HoldsRow(row) ? GetBlock().At(window.col0, row, hostkit::PixelBytes(info)) : nullptr;
    } catch (...) {
        return nullptr;
    }
}

hostkit::SampleBlock GdalRaster::GetBlock() const {
    return {buffer.data(), window.GetColumns() * hostkit::PixelBytes(info), window};
}

} // namespace rasterhost
