#pragma once

#include <cstdint>
#include <vector>

class GDALRasterBand;

namespace rasterhost {

/// Where an image has no data, held in little memory until all of it is known: for each row the ends of its
/// runs, or one bit per pixel where that is less.
class OutputMask {
public:
    explicit OutputMask(std::uint32_t imageColumns) : columns(imageColumns) {}

    /// Adds the next rows from the top: one byte per pixel, 0 without data; null when all have data.
    void AddRows(const unsigned char* valid, std::uint32_t rowCount);
    [[nodiscard]] std::uint64_t GetPixelsWithoutData() const { return pixelsWithoutData; }
    /// Tells of a row's pixels which have data: 255 with, 0 without.
    void ExpandRow(std::size_t row, unsigned char* valid) const;
    /// Writes all rows as a mask, 255 with data and 0 without. False when GDAL fails.
    [[nodiscard]] bool Write(GDALRasterBand& band) const;

private:
    void AddRow(const unsigned char* valid);
    void AddBits(const unsigned char* valid, std::size_t start);

    std::uint32_t columns;
    std::uint64_t pixelsWithoutData = 0;
    std::vector<std::uint32_t> words;      ///< of all rows
    std::vector<std::size_t> rowStarts{0}; ///< into `words`; one more than there are rows
};

} // namespace rasterhost
