#include "rasterhost/writing/OutputMask.h"

#include <gdal_priv.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace rasterhost {

namespace {
constexpr std::uint32_t wordBits = 32;

/// One bit for each of eight bytes: 1 where the byte is 0. The first byte has the lowest bit.
std::uint32_t FindZeros(const unsigned char* bytes) {
    std::uint64_t word = 0;
    for (std::uint32_t i = 0; i < sizeof(word); ++i)
        word |= std::uint64_t{bytes[i]} << (8 * i);
    constexpr std::uint64_t low = 0x7F7F7F7F7F7F7F7F;
    const std::uint64_t isZero = ~(((word & low) + low) | word | low) >> 7; // the lowest bit of each byte
    return static_cast<std::uint32_t>(isZero * 0x0102040810204080 >> 56);   // moves them to one byte
}
} // namespace

void OutputMask::AddRows(const unsigned char* valid, std::uint32_t rowCount) {
    for (std::uint32_t row = 0; row < rowCount; ++row) {
        if (valid) AddRow(valid + std::size_t{row} * columns);
        rowStarts.push_back(words.size());
    }
}

/// Stores runs of pixels without data, as first and end column. A row with as many words as its bits need is
/// stored as bits.
void OutputMask::AddRow(const unsigned char* valid) {
    const std::size_t start = words.size();
    const std::size_t bitWords = (columns + wordBits - 1) / wordBits;
    const unsigned char* end = valid + columns;
    const auto hasData = [](unsigned char v) { return v != 0; };
    for (const unsigned char* at = valid; at != end;) {
        const auto* none =
            static_cast<const unsigned char*>(std::memchr(at, 0, static_cast<std::size_t>(end - at)));
        if (!none) break;
        at = std::find_if(none, end, hasData);
        words.push_back(static_cast<std::uint32_t>(none - valid));
        words.push_back(static_cast<std::uint32_t>(at - valid));
        if (words.size() - start >= bitWords) return AddBits(valid, start);
    }
    for (std::size_t run = start; run < words.size(); run += 2)
        pixelsWithoutData += words[run + 1] - words[run];
}

/// Stores a row as bits; its words begin at `start`.
void OutputMask::AddBits(const unsigned char* valid, std::size_t start) {
    words.resize(start);
    for (std::uint32_t first = 0; first < columns; first += wordBits) {
        std::uint32_t word = 0, bit = 0;
        const std::uint32_t count = std::min(wordBits, columns - first);
        for (; bit + 8 <= count; bit += 8)
            word |= FindZeros(valid + first + bit) << bit;
        for (; bit < count; ++bit)
            word |= (valid[first + bit] == 0 ? 1u : 0u) << bit;
        words.push_back(word);
        pixelsWithoutData += static_cast<std::uint64_t>(std::popcount(word));
    }
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
