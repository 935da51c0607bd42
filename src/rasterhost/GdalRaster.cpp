#include "rasterhost/GdalRaster.h"

#include "hostkit/RequestRecord.h"

#include <algorithm>

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
    isLoaded = image.Read(wanted, buffer.data(), status) && FindGaps(wanted);
    return isLoaded;
}

bool GdalRaster::FindGaps(const hostkit::PixelRect& wanted) {
    hasGaps = false;
    if (!image.MayLackData()) return true;
    const std::size_t pixels = std::size_t{wanted.GetColumns()} * wanted.GetRows();
    if (valid.size() < pixels) valid.resize(pixels);
    if (!image.ReadValid(wanted, buffer.data(), valid.data(), status)) return false;
    const auto end = valid.begin() + static_cast<std::ptrdiff_t>(pixels);
    hasGaps = std::find(valid.begin(), end, static_cast<unsigned char>(0)) != end;
    return true;
}

const unsigned char* GdalRaster::GetRow(std::uint32_t row) {
    try {
        return HoldsRow(row) ? GetBlock().At(window.col0, row, hostkit::PixelBytes(info)) : nullptr;
    } catch (...) {
        return nullptr;
    }
}

hostkit::SampleBlock GdalRaster::GetBlock() const {
    return {buffer.data(), window.GetColumns() * hostkit::PixelBytes(info), window,
            hasGaps ? valid.data() : nullptr};
}

} // namespace rasterhost
