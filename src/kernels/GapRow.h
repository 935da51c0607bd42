#pragma once

#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>

/// Rows of a mask as bits.
namespace kernels {

/// Bits of a word of a row.
inline constexpr std::size_t gapBits = 32;

/// What a row of a mask holds.
struct GapCount {
    std::size_t pixels = 0; ///< without data
    std::size_t runs = 0;   ///< of consecutive ones
};

/// Makes one bit of every byte of a mask: 1 for a byte of 0, a pixel without data. Pixel i becomes the bit of
/// the value 2^(i % gapBits) of word i / gapBits. Writes exactly the words that hold all pixels; the unused
/// bits of the last are 0.
using GapRow = GapCount (*)(const unsigned char* valid, std::size_t pixels, std::uint32_t* words);

/// The version for a vector target that can run here. The scalar one is the definition.
[[nodiscard]] GapRow GapRowFor(SimdTarget target);

inline GapCount GapRowScalar(const unsigned char* valid, std::size_t pixels, std::uint32_t* words) {
    GapCount count;
    for (std::size_t i = 0; i < pixels; ++i) {
        const bool isGap = valid[i] == 0;
        if (i % gapBits == 0) words[i / gapBits] = 0;
        words[i / gapBits] |= std::uint32_t{isGap} << (i % gapBits);
        count.pixels += isGap;
        count.runs += isGap && (i == 0 || valid[i - 1] != 0);
    }
    return count;
}

} // namespace kernels
