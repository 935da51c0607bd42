#pragma once

#include "fundament/LargeBytes.h"
#include "imagery/OutputRow.h"
#include "rasterhost/writing/OutputMask.h"
#include "rasterhost/writing/TilePacker.h"

#include <cstdint>
#include <vector>

namespace rasterhost {

/// The pixels of a window of full rows in the form of the file: fused rows, added one after another, become
/// rows of the file in its layout.
class OutputWindow {
public:
    /// For windows of at most `mostRows` rows. Samples have 8 or 16 bits.
    OutputWindow(const imagery::OutputRules& outputRules, const imagery::OutputLayout& outputLayout,
                 std::uint32_t bits, std::uint32_t fileColumns, std::uint32_t mostRows);

    /// Begins a window of this many rows of the file.
    void Start(std::uint32_t firstFileRow, std::uint32_t rowCount);
    /// Makes the next row from a fused row, and counts samples at the limits. `fused` is null when no pixel
    /// has data; `valid` as in MakeOutputRow.
    void AddRow(const unsigned char* fused, const unsigned char* valid);

    [[nodiscard]] std::uint32_t GetFirstRow() const { return firstRow; }
    [[nodiscard]] std::uint32_t GetRows() const { return rows; }
    /// Rows of the file, interleaved by pixel and packed, in the file's layout.
    [[nodiscard]] unsigned char* GetSamples() {
        const std::size_t past = reinterpret_cast<std::uintptr_t>(samples.data()) % alignment;
        return samples.data() + (alignment - past) % alignment;
    }
    /// Its compressed tiles, for a file that is compressed while it is written.
    [[nodiscard]] PackedTiles& GetPacked() { return packed; }
    [[nodiscard]] const OutputMask& GetMask() const { return mask; }
    [[nodiscard]] const imagery::LimitTally& GetTally() const { return tally; }

private:
    [[nodiscard]] std::size_t TilesAcross() const { return (columns - 1) / layout.tileColumns + 1; }
    [[nodiscard]] std::size_t TileRowBytes() const { return layout.tileColumns * pixelBytes; }
    [[nodiscard]] std::size_t TileBytes() const { return layout.tileRows * TileRowBytes(); }
    void MakeRoom();
    void AddToTiles(std::size_t number, const unsigned char* fused, const unsigned char* valid);
    void MakePixels(const unsigned char* fused, const unsigned char* valid, std::size_t count,
                    unsigned char* out);

    static constexpr std::size_t alignment = 64; ///< of a line of the processor's cache

    imagery::OutputRules rules;
    const imagery::OutputLayout layout;
    const std::uint32_t columns;
    const std::size_t sampleBytes;
    const std::size_t pixelBytes; ///< of the file
    std::uint32_t firstRow = 0;
    std::uint32_t rows = 0;
    std::uint32_t added = 0; ///< rows added so far
    std::size_t mostBytes = 0;
    KOVA::Tessara::Fundament::LargeBytes samples;
    PackedTiles packed;
    OutputMask mask;
    imagery::LimitTally tally;
};

} // namespace rasterhost
