#pragma once

#include "host/RasterInfo.h"

#include <cstddef>
#include <cstdint>

namespace hostkit {

/// A rectangle of pixels by absolute column and row. The ends are exclusive.
struct PixelRect {
    std::uint32_t col0 = 0; ///< first column
    std::uint32_t row0 = 0; ///< first row
    std::uint32_t col1 = 0; ///< end, exclusive
    std::uint32_t row1 = 0; ///< end, exclusive

    /// Pixels across. The rectangle must not be empty.
    [[nodiscard]] std::uint32_t GetColumns() const { return col1 - col0; }
    /// Pixels down. The rectangle must not be empty.
    [[nodiscard]] std::uint32_t GetRows() const { return row1 - row0; }
    /// True when it has no pixel.
    [[nodiscard]] bool IsEmpty() const { return col0 >= col1 || row0 >= row1; }
    /// True when all of the other lies within this.
    [[nodiscard]] bool Contains(const PixelRect& other) const {
        return other.col0 >= col0 && other.row0 >= row0 && other.col1 <= col1 && other.row1 <= row1;
    }
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

/// Samples of an image or of a part of it, in memory of the caller: rows from the top, pixels from the left,
/// bands interleaved by pixel. A sample has 8 or 16 bits, as the image's description says; 16-bit samples are
/// aligned. The memory must stay valid as long as anything here reads it.
struct SampleBlock {
    const unsigned char* samples = nullptr; ///< of the rectangle's first pixel
    std::size_t rowStride = 0;              ///< bytes from one row to the next
    PixelRect rect;                         ///< what the samples cover
    /// The mask: one byte per pixel of the rectangle, rows packed, 0 for no data. Null when every pixel has
    /// data.
    const unsigned char* valid = nullptr;

    /// The sample of band 0 of a pixel within the rectangle.
    [[nodiscard]] const unsigned char* At(std::uint32_t column, std::uint32_t row,
                                          std::size_t pixelBytes) const {
        return samples + std::size_t{row - rect.row0} * rowStride +
               std::size_t{column - rect.col0} * pixelBytes;
    }
};

/// Bytes of one pixel of all bands.
[[nodiscard]] inline std::size_t PixelBytes(const KOVA::Tessara::Pixmere::RasterInfo& info) {
    return std::size_t{info.bandsPerPixel} * (info.bitsPerBand / 8);
}

} // namespace hostkit
