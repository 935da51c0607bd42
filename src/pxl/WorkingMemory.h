#pragma once

#include <cstddef>
#include <cstdint>

namespace PXL {

/// What an image or operator takes for itself is bounded, whatever its inputs say of their size. So is the
/// time for settings that are looked up one by one for every band, which grows with the square of the bands.
inline constexpr std::uint64_t mostRowBytes = std::uint64_t{256} << 20;
inline constexpr std::uint32_t mostBands = 4096;

/// True when a row of this many columns and bands, `sampleSize` bytes per sample, is within the bounds.
[[nodiscard]] constexpr bool RowFits(std::uint32_t columns, std::uint64_t bands, std::size_t sampleSize) {
    return bands <= mostBands && columns * bands * sampleSize <= mostRowBytes;
}

} // namespace PXL
