#pragma once

#include <cstddef>
#include <cstdint>

namespace PXL {

/// Bounds on the memory that an image or operator takes, whatever size its inputs claim. They also bound the
/// time of looking up settings band by band, which grows with the square of the bands.
inline constexpr std::uint64_t mostRowBytes = std::uint64_t{256} << 20;
inline constexpr std::uint32_t mostBands = 4096;

/// True when a row of this many columns and bands, `sampleSize` bytes per sample, is within the bounds.
[[nodiscard]] constexpr bool RowFits(std::uint32_t columns, std::uint64_t bands, std::size_t sampleSize) {
    return bands <= mostBands && columns * bands * sampleSize <= mostRowBytes;
}

} // namespace PXL
