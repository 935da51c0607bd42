#pragma once

#include "hostkit/SampleBlock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/// Samples in memory of the caller, with strides of any sign and at any address.
namespace capi {

/// The positions of the samples of an image, in bytes from band 0 of its upper left pixel.
struct Layout {
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint32_t bands = 0;
    std::uint32_t sampleBytes = 1; ///< 1 or 2
    std::ptrdiff_t rowStride = 0;
    std::ptrdiff_t pixelStride = 0;
    std::ptrdiff_t bandStride = 0;
    /// The bands to read, in the order of the packed samples; empty: all, as they lie.
    std::vector<std::uint32_t> bandOrder{};

    [[nodiscard]] std::ptrdiff_t At(std::uint32_t column, std::uint32_t row, std::uint32_t band) const {
        return static_cast<std::ptrdiff_t>(row) * rowStride +
               static_cast<std::ptrdiff_t>(column) * pixelStride +
               static_cast<std::ptrdiff_t>(band) * bandStride;
    }
    /// True when samples are packed: bands interleaved by pixel, no gaps, rows from the top, samples aligned.
    [[nodiscard]] bool IsPacked(const unsigned char* samples) const;
};

/// Replaces strides that are all 0 by those of packed samples. False when only some of the strides that
/// matter are 0, or when a packed stride would overflow.
[[nodiscard]] bool FillStrides(Layout& layout);

/// The addresses that an image touches; the end is exclusive.
struct AddressRange {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    [[nodiscard]] bool Overlaps(const AddressRange& other) const {
        return begin < other.end && other.begin < end;
    }
};

/// The addresses of an image. Empty when it would reach beyond the address space.
[[nodiscard]] std::optional<AddressRange> FindRange(const void* samples, const Layout& layout);

/// True when no two samples can share a byte: each stride is at least the span of all smaller strides.
[[nodiscard]] bool KeepsSamplesApart(const Layout& layout);

/// The samples of a rectangle. Packed samples are not copied; others are copied into the buffer, in the order
/// of the bands if there is one. The buffer must outlive the block.
[[nodiscard]] hostkit::SampleBlock MakeBlock(const unsigned char* samples, const Layout& layout,
                                             const hostkit::PixelRect& rect,
                                             std::vector<unsigned short>& buffer);

/// Writes the bands with these numbers, counted from 0, of an interleaved row as the bands of row `row` of an
/// image.
void StoreRow(const unsigned char* source, std::uint32_t sourceBands, const std::vector<std::uint32_t>& bands,
              unsigned char* samples, const Layout& layout, std::uint32_t row);

} // namespace capi
