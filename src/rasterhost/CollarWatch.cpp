#include "rasterhost/CollarWatch.h"

#include <algorithm>

namespace rasterhost {

namespace {
constexpr double leastShare = 0.05;
}

CollarWatch::CollarWatch(const KOVA::Tessara::Pixmere::RasterInfo& image) : info(image) {}

void CollarWatch::SeePixel(const unsigned char* pixel) {
    ++seen;
    const std::size_t bytes = hostkit::PixelBytes(info);
    zeros += std::all_of(pixel, pixel + bytes, [](unsigned char byte) { return byte == 0; });
}

void CollarWatch::See(const hostkit::SampleBlock& block) {
    const hostkit::PixelRect& rect = block.rect;
    const std::size_t bytes = hostkit::PixelBytes(info);
    for (std::uint32_t row = std::max(rect.row0, nextRow); row < rect.row1; ++row) {
        const bool isEdgeRow = row == 0 || row + 1 == info.rows;
        const std::uint32_t step = isEdgeRow ? 1 : std::max(rect.GetColumns() - 1, 1u);
        for (std::uint32_t column = rect.col0; column < rect.col1; column += step)
            SeePixel(block.At(column, row, bytes));
    }
    nextRow = std::max(nextRow, rect.row1);
}

std::optional<double> CollarWatch::GetShareOfZeros() const {
    const double share = seen == 0 ? 0.0 : static_cast<double>(zeros) / static_cast<double>(seen);
    return share >= leastShare ? std::optional(share) : std::nullopt;
}

} // namespace rasterhost
