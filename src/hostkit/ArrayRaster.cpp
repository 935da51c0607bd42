#include "hostkit/ArrayRaster.h"

namespace hostkit {

ArrayRaster::ArrayRaster(const RasterInfo& description, const SampleBlock& block)
    : RasterBase("Host.ArrayRaster") {
    info = description;
    SetBlock(block);
}

void ArrayRaster::SetBlock(const SampleBlock& block) {
    samples = block;
    available = block.rect;
    window = block.rect;
}

const unsigned char* ArrayRaster::GetRow(std::uint32_t row) {
    try {
        return HoldsRow(row) ? samples.At(window.col0, row, PixelBytes(info)) : nullptr;
    } catch (...) {
        return nullptr;
    }
}

} // namespace hostkit
