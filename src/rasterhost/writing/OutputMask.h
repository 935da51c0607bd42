#pragma once

#include "rasterhost/writing/TileEncoder.h"

#include <cstdint>
#include <vector>

class GDALRasterBand;

namespace rasterhost {

/// The mask of an image, stored compactly until all of it is known: per row the ends of its runs if there are
/// few, else one bit per pixel.
class OutputMask {
public:
    explicit OutputMask(std::uint32_t imageColumns) : columns(imageColumns) {}

    /// Removes all rows.
    void Clear();
    /// Adds the next row from the top: one byte per pixel, 0 without data; null when all have data.
    void AddRow(const unsigned char* valid);
    /// Adds all rows of another mask of as many columns.
    void AddRows(const OutputMask& rows);
    [[nodiscard]] std::uint64_t GetPixelsWithoutData() const { return pixelsWithoutData; }
    /// Writes the mask of a row: 255 with data, 0 without.
    void ExpandRow(std::size_t row, unsigned char* valid) const;
    /// Writes a row of tiles of one bit per pixel, one after another: 1 with data, 0 without and outside the
    /// image. `top` is the first row; a tile's columns are a multiple of 8.
    void MakeTiles(std::size_t top, const TileForm& form, unsigned char* tiles) const;
    /// Writes all rows as a mask band: 255 with data, 0 without. False when GDAL fails.
    [[nodiscard]] bool Write(GDALRasterBand& band) const;

private:
    [[nodiscard]] std::size_t CountBitWords() const;
    void AddRuns();
    void ExpandBits(std::size_t row, unsigned char* rowBits) const;

    std::uint32_t columns;
    std::uint64_t pixelsWithoutData = 0;
    std::vector<std::uint32_t> bits;       ///< of the row being added
    std::vector<std::uint32_t> words;      ///< of all rows
    std::vector<std::size_t> rowStarts{0}; ///< indices into `words`; one entry more than there are rows
};

} // namespace rasterhost
