#include "rasterhost/writing/OutputMask.h"

#include <gdal_priv.h>

#include <algorithm>

namespace rasterhost {

namespace {
constexpr std::uint32_t wordBits = 32;
}

void OutputMask::AddRows(const unsigned char* valid, std::uint32_t rowCount) {
    for (std::uint32_t row = 0; row < rowCount; ++row) {
        if (valid) AddRow(valid + std::size_t{row} * columns);
        rowStarts.push_back(words.size());
    }
}

/// Runs of pixels without data, as first and end column. A row of as many words as it has bits for is bits.
void OutputMask::AddRow(const unsigned char* valid) {
    const std::size_t start = words.size();
    const std::size_t bitWords = (columns + wordBits - 1) / wordBits;
    for (std::uint32_t column = 0; column < columns;) {
        const unsigned char* none = std::find(valid + column, valid + columns, static_cast<unsigned char>(0));
        const unsigned char* end =
            std::find_if(none, valid + columns, [](unsigned char v) { return v != 0; });
        column = static_cast<std::uint32_t>(end - valid);
        if (none == end) break;
        words.push_back(static_cast<std::uint32_t>(none - valid));
        words.push_back(column);
        pixelsWithoutData += static_cast<std::uint64_t>(end - none);
    }
    if (words.size() - start < bitWords) return;
    words.resize(start);
    words.resize(start + bitWords);
    for (std::uint32_t column = 0; column < columns; ++column)
        if (valid[column] == 0) words[start + column / wordBits] |= 1u << (column % wordBits);
}

void OutputMask::ExpandRow(std::size_t row, unsigned char* valid) const {
    std::fill_n(valid, columns, static_cast<unsigned char>(0xFF));
    const std::size_t start = rowStarts[row], end = rowStarts[row + 1];
    if (end - start == (columns + wordBits - 1) / wordBits) {
        for (std::uint32_t column = 0; column < columns; ++column)
            if ((words[start + column / wordBits] >> (column % wordBits)) & 1u) valid[column] = 0;
        return;
    }
    for (std::size_t run = start; run < end; run += 2)
        std::fill(valid + words[run], valid + words[run + 1], static_cast<unsigned char>(0));
}

bool OutputMask::Write(GDALRasterBand& band) const {
    constexpr std::size_t blockRows = 256;
    const std::size_t rows = rowStarts.size() - 1;
    std::vector<unsigned char> block(std::min(blockRows, rows) * columns);
    for (std::size_t row = 0; row < rows; row += blockRows) {
        const std::size_t count = std::min(blockRows, rows - row);
        for (std::size_t i = 0; i < count; ++i)
            ExpandRow(row + i, block.data() + i * columns);
        if (band.RasterIO(GF_Write, 0, static_cast<int>(row), static_cast<int>(columns),
                          static_cast<int>(count), block.data(), static_cast<int>(columns),
                          static_cast<int>(count), GDT_Byte, 0, 0, nullptr) != CE_None)
            return false;
    }
    return true;
}

} // namespace rasterhost
