#include "rasterhost/writing/OutputWindow.h"

#include <algorithm>
#include <cstring>

namespace rasterhost {

using imagery::MakeOutputRow;
using imagery::OutputLayout;
using imagery::OutputRules;

namespace {

/// A larger window leaves the cache of its processor before it is written to the file. Ordinary stores would
/// first read each of its lines from memory.
constexpr std::size_t mostInCache = std::size_t{1} << 20;

} // namespace

OutputWindow::OutputWindow(const OutputRules& outputRules, const OutputLayout& outputLayout,
                           std::uint32_t bits, std::uint32_t fileColumns, std::uint32_t mostRows)
    : rules(outputRules), layout(outputLayout), columns(fileColumns), sampleBytes(bits / 8),
      pixelBytes(rules.GetFileBands() * sampleBytes), mask(columns) {
    const std::size_t tileRows = layout.tileColumns == 0 ? 0 : (mostRows - 1) / layout.tileRows + 1;
    mostBytes =
        layout.tileColumns == 0 ? pixelBytes * columns * mostRows : TilesAcross() * tileRows * TileBytes();
    rules.pastCache = mostBytes > mostInCache;
}

void OutputWindow::Start(std::uint32_t firstFileRow, std::uint32_t rowCount) {
    firstRow = firstFileRow;
    rows = rowCount;
    added = 0;
    mask.Clear();
    tally.assign(rules.bands, {0, 0});
}

/// Called on the fusing thread: allocating new memory takes longer than filling it.
void OutputWindow::MakeRoom() {
    samples.resize(mostBytes + alignment);
    if (layout.tileColumns == 0 || rows % layout.tileRows == 0) return;
    // Clears the rows below the image in its last tiles, where an earlier window may have left samples.
    const std::size_t used = rows % layout.tileRows * TileRowBytes();
    unsigned char* tile = GetSamples() + rows / layout.tileRows * TilesAcross() * TileBytes();
    for (std::size_t i = 0; i < TilesAcross(); ++i, tile += TileBytes())
        std::memset(tile + used, 0, TileBytes() - used);
}

void OutputWindow::AddRow(const unsigned char* fused, const unsigned char* valid) {
    const std::size_t number = added++;
    if (number == 0) MakeRoom();
    if (layout.tileColumns == 0)
        MakePixels(fused, valid, columns, GetSamples() + number * columns * pixelBytes);
    else
        AddToTiles(number, fused, valid);
    if (rules.pastCache) kernels::EndPastCache();
    mask.AddRow(valid);
}

void OutputWindow::AddToTiles(std::size_t number, const unsigned char* fused, const unsigned char* valid) {
    unsigned char* out = GetSamples() + number / layout.tileRows * TilesAcross() * TileBytes() +
                         number % layout.tileRows * TileRowBytes();
    for (std::size_t column = 0; column < columns; column += layout.tileColumns, out += TileBytes())
        MakePixels(fused ? fused + column * rules.bands * sampleBytes : nullptr,
                   valid ? valid + column : nullptr,
                   std::min<std::size_t>(layout.tileColumns, columns - column), out);
}

void OutputWindow::MakePixels(const unsigned char* fused, const unsigned char* valid, std::size_t count,
                              unsigned char* out) {
    if (sampleBytes == 1)
        MakeOutputRow(fused, valid, count, rules, out, tally);
    else
        MakeOutputRow(reinterpret_cast<const unsigned short*>(fused), valid, count, rules,
                      reinterpret_cast<unsigned short*>(out), tally);
}

} // namespace rasterhost
