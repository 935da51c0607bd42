#pragma once

#include "imagery/LimitTally.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace imagery {

/// How the file marks pixels without data.
struct OutputRules {
    std::uint32_t bands = 0;             ///< fused ones
    std::uint32_t largest = 0;           ///< a sample may have: 255, or 2 to the power of the bit depth - 1
    std::optional<std::uint32_t> noData; ///< the value of all samples of a pixel without data
    bool hasAlpha = false;               ///< a last band: 0 without data, else the type's largest value

    [[nodiscard]] std::uint32_t GetFileBands() const { return bands + (hasAlpha ? 1u : 0u); }
};

/// How the pixels of a window of full rows lie in memory: row after row, or in tiles as the file has them,
/// one after another along rows of tiles, those at the right and lower edge filled up with 0.
struct OutputLayout {
    std::uint32_t tileColumns = 0; ///< 0 for rows
    std::uint32_t tileRows = 0;
};

/// Turns a fused row into one of the file: samples above the largest come down to it; a pixel without data
/// becomes the nodata value, or 0; a sample with data that equals the nodata value becomes the next greater
/// one, or the next smaller at the top. Counts the limits of the pixels with data. `valid` has one byte per
/// pixel, not 0 with data, and is null when all have. `out` has room for columns x file bands and is not
/// `fused`.
template <class T>
void MakeOutputRow(const T* fused, const unsigned char* valid, std::size_t columns, const OutputRules& rules,
                   T* out, LimitTally& tally);

} // namespace imagery
