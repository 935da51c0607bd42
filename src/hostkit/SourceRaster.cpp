#include "hostkit/SourceRaster.h"

#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <cstring>

namespace hostkit {

SourceRaster::SourceRaster(ImageSource& source) : RasterBase("Host.SourceRaster"), image(source) {
    info = image.GetInfo();
    available = WholeImage(info);
}

SourceRaster::~SourceRaster() = default;

bool SourceRaster::OpenWindow(const PixelRect& wanted) {
    if (loaded.Contains(wanted)) return true;
    status.Reset(0, {}, {}, {}); // allocates nothing, so it cannot fail
    loaded = window = {};        // until the buffer is filled, it belongs to no window
    const std::size_t rowBytes = wanted.GetColumns() * PixelBytes(info);
    const std::size_t bytes = rowBytes * wanted.GetRows();
    if (buffer.size() < bytes) buffer.resize(bytes);
    if (!image.Read(wanted, buffer.data(), status) || !FindGaps(wanted)) return false;
    loaded = wanted;
    return true;
}

bool SourceRaster::FindGaps(const PixelRect& wanted) {
    hasGaps = false;
    if (!image.MayLackData()) return true;
    const std::size_t pixels = std::size_t{wanted.GetColumns()} * wanted.GetRows();
    if (valid.size() < pixels) valid.resize(pixels);
    if (!image.ReadValid(wanted, buffer.data(), valid.data(), status)) return false;
    hasGaps = std::memchr(valid.data(), 0, pixels) != nullptr;
    return true;
}

const unsigned char* SourceRaster::GetRow(std::uint32_t row) {
    try {
        return HoldsRow(row) ? GetBlock().At(window.col0, row, PixelBytes(info)) : nullptr;
    } catch (...) {
        return nullptr;
    }
}

SampleBlock SourceRaster::GetBlock() const {
    return {buffer.data(), loaded.GetColumns() * PixelBytes(info), loaded, hasGaps ? valid.data() : nullptr};
}

} // namespace hostkit
