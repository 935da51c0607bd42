#include "rasterhost/writing/OutputMask.h"

#include "kernels/GapRow.h"

#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <bit>

namespace rasterhost {

using kernels::gapBits;

/// A row with more than one run for so many words of bits is stored as bits. They need more memory, at most a
/// bit per pixel, and less time.
constexpr std::size_t wordsPerRun = 16;

void OutputMask::Clear() {
    pixelsWithoutData = 0;
    words.clear();
    rowStarts.resize(1);
}

std::size_t OutputMask::CountBitWords() const { return (columns + gapBits - 1) / gapBits; }

/// Stores a few runs of pixels without data as first and end column, and more as bits.
void OutputMask::AddRow(const unsigned char* valid) {
    static const kernels::GapRow findGaps = kernels::GapRowFor(kernels::ChosenSimdTarget());
    if (valid) {
        bits.resize(CountBitWords());
        const kernels::GapCount gaps = findGaps(valid, columns, bits.data());
        pixelsWithoutData += gaps.pixels;
        if (wordsPerRun * gaps.runs < bits.size())
            AddRuns();
        else
            words.insert(words.end(), bits.begin(), bits.end());
    }
    rowStarts.push_back(words.size());
}

/// Stores the runs of the row's bits.
void OutputMask::AddRuns() {
    std::uint32_t first = 0, before = 0; // the last bit of the word before
    for (const std::uint32_t word : bits) {
        for (std::uint32_t ends = word ^ (word << 1 | before); ends != 0; ends &= ends - 1)
            words.push_back(first + static_cast<std::uint32_t>(std::countr_zero(ends)));
        before = word >> (gapBits - 1);
        first += gapBits;
    }
    if (before != 0) words.push_back(columns);
}

void OutputMask::AddRows(const OutputMask& rows) {
    const std::size_t start = words.size();
    words.insert(words.end(), rows.words.begin(), rows.words.end());
    for (std::size_t row = 1; row < rows.rowStarts.size(); ++row)
        rowStarts.push_back(start + rows.rowStarts[row]);
    pixelsWithoutData += rows.pixelsWithoutData;
}

void OutputMask::ExpandRow(std::size_t row, unsigned char* valid) const {
    std::fill_n(valid, columns, static_cast<unsigned char>(0xFF));
    const std::size_t start = rowStarts[row], end = rowStarts[row + 1];
    if (end - start == CountBitWords()) {
        for (std::size_t word = start; word < end; ++word, valid += gapBits)
            for (std::uint32_t gaps = words[word]; gaps != 0; gaps &= gaps - 1)
                valid[std::countr_zero(gaps)] = 0;
        return;
    }
    for (std::size_t run = start; run < end; run += 2)
        std::fill(valid + words[run], valid + words[run + 1], static_cast<unsigned char>(0));
}

namespace {

constexpr std::array<unsigned char, 256> MakeReversed() {
    std::array<unsigned char, 256> reversed{};
    for (unsigned byte = 0; byte < 256; ++byte)
        for (unsigned bit = 0; bit < 8; ++bit)
            if ((byte >> bit & 1u) != 0) reversed[byte] |= static_cast<unsigned char>(0x80u >> bit);
    return reversed;
}

/// Clears the bits of a run of pixels.
void ClearBits(std::size_t first, std::size_t end, unsigned char* bits) {
    const auto before = [](std::size_t column) { return static_cast<unsigned char>(~(0xFFu >> column % 8)); };
    unsigned char *from = bits + first / 8, *to = bits + end / 8;
    const unsigned char kept = before(first), keptAfter = static_cast<unsigned char>(~before(end));
    if (from == to) {
        *from &= static_cast<unsigned char>(kept | keptAfter);
        return;
    }
    *from &= kept;
    std::fill(from + 1, to, static_cast<unsigned char>(0));
    if (keptAfter != 0xFF) *to &= keptAfter;
}

} // namespace

/// Writes as many bytes as hold the row's pixels, the first in a byte's highest bit.
void OutputMask::ExpandBits(std::size_t row, unsigned char* rowBits) const {
    static constexpr std::array<unsigned char, 256> reversed = MakeReversed();
    const std::size_t start = rowStarts[row], end = rowStarts[row + 1];
    std::fill_n(rowBits, (columns + 7) / 8, static_cast<unsigned char>(0xFF));
    if (end - start == CountBitWords())
        for (std::size_t byte = 0; byte < (columns + 7) / 8; ++byte)
            rowBits[byte] =
                static_cast<unsigned char>(~reversed[words[start + byte / 4] >> (byte % 4 * 8) & 0xFFu]);
    else
        for (std::size_t run = start; run < end; run += 2)
            ClearBits(words[run], words[run + 1], rowBits);
    if (columns % 8 != 0) rowBits[columns / 8] &= static_cast<unsigned char>(~(0xFFu >> columns % 8));
}

void OutputMask::MakeTiles(std::size_t top, const TileForm& form, unsigned char* tiles) const {
    const std::size_t across = (columns - 1) / form.columns + 1, bytes = form.GetRowBytes();
    const std::size_t count = std::min<std::size_t>(form.rows, rowStarts.size() - 1 - top);
    std::vector<unsigned char> row(across * bytes);
    for (std::size_t i = 0; i < count; ++i) {
        ExpandBits(top + i, row.data());
        for (std::size_t tile = 0; tile < across; ++tile)
            std::copy_n(row.data() + tile * bytes, bytes, tiles + tile * form.GetBytes() + i * bytes);
    }
    for (std::size_t tile = 0; tile < across; ++tile)
        std::fill_n(tiles + tile * form.GetBytes() + count * bytes, (form.rows - count) * bytes,
                    static_cast<unsigned char>(0));
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
