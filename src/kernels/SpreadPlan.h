#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

/// Where the bytes of a vector of output pixels come from, whose last band is not in the input. Table lookups
/// stay within blocks of 16 bytes, so the input is loaded in as many bytes for each block.
struct SpreadPlan {
    static constexpr std::uint32_t mostBands = 8; ///< of the input
    static constexpr std::size_t mostBytes = 64, blockBytes = 16;
    static constexpr std::uint8_t absent = 0x80; ///< a byte of the last band

    std::uint8_t from[mostBytes] = {};   ///< a byte's place in the input of its block, or absent
    std::uint8_t pixels[mostBytes] = {}; ///< its pixel, from the first pixel of its block
    /// Where the input of every block begins, and its first pixel, from those of the vector.
    std::uint8_t blocks[mostBytes / blockBytes] = {}, blockPixels[mostBytes / blockBytes] = {};
};

/// The plans of a sample type, for every number of input bands and every band that a vector can begin with.
template <class T>
struct SpreadPlans {
    SpreadPlan of[SpreadPlan::mostBands + 1][SpreadPlan::mostBands + 1] = {};

    constexpr SpreadPlans() {
        for (std::size_t bands = 1; bands <= SpreadPlan::mostBands; ++bands)
            for (std::size_t first = 0; first <= bands; ++first)
                Make(of[bands][first], bands, first);
    }

private:
    static constexpr void Make(SpreadPlan& plan, std::size_t bands, std::size_t first) {
        const auto pixelOf = [&](std::size_t i) { return (first + i) / (bands + 1); };
        // Samples of the input before sample i of the vector.
        const auto before = [&](std::size_t i) {
            return pixelOf(i) * bands + (first + i) % (bands + 1) - first;
        };
        for (std::size_t byte = 0; byte < SpreadPlan::mostBytes; ++byte) {
            const std::size_t block = byte / SpreadPlan::blockBytes;
            const std::size_t start = block * SpreadPlan::blockBytes / sizeof(T), i = byte / sizeof(T);
            const bool isLast = (first + i) % (bands + 1) == bands;
            plan.blocks[block] = static_cast<std::uint8_t>(before(start) * sizeof(T));
            plan.blockPixels[block] = static_cast<std::uint8_t>(pixelOf(start));
            plan.from[byte] =
                isLast
                    ? SpreadPlan::absent
                    : static_cast<std::uint8_t>((before(i) - before(start)) * sizeof(T) + byte % sizeof(T));
            plan.pixels[byte] = static_cast<std::uint8_t>(pixelOf(i) - pixelOf(start));
        }
    }
};
template <class T>
inline constexpr SpreadPlans<T> spreadPlans;

} // namespace kernels
