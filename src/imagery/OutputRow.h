#pragma once

#include "imagery/LimitTally.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace imagery {

/// How the file marks pixels without data, and the largest sample.
struct OutputRules {
    std::uint32_t bands = 0;             ///< fused bands
    std::uint32_t largest = 0;           ///< the largest sample: 255, or 2^(bit depth) - 1
    std::optional<std::uint32_t> noData; ///< the value of every sample of a pixel without data
    bool hasAlpha = false;               ///< adds a last band: 0 without data, else the type's largest value
    bool pastCache = false;              ///< writes rows past the processor's cache (kernels/LimitedRow.h)

    [[nodiscard]] std::uint32_t GetFileBands() const { return bands + (hasAlpha ? 1u : 0u); }
};

/// The order in memory of the pixels of a window of full rows: row by row, or tile by tile as in the file.
/// Tiles follow each other along rows of tiles; those at the right and lower edge are padded with 0.
struct OutputLayout {
    std::uint32_t tileColumns = 0; ///< 0 for rows
    std::uint32_t tileRows = 0;
};

/// Makes a row of the file from a fused row and counts the samples at the limits.
/// - A sample above the largest becomes the largest.
/// - A pixel without data gets the nodata value, or 0.
/// - A sample with data that equals the nodata value becomes the next greater one; at the top, the next
///   smaller one.
///
/// `valid` has one byte per pixel, not 0 with data, or is null when all have data. `out` has room for columns
/// x file bands and must not overlap `fused`.
template <class T>
void MakeOutputRow(const T* fused, const unsigned char* valid, std::size_t columns, const OutputRules& rules,
                   T* out, LimitTally& tally);

} // namespace imagery
