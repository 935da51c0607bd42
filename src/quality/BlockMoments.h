#pragma once

#include "kernels/SumRow.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <variant>
#include <vector>

namespace quality {

/// Some channels of a row, interleaved by pixel.
struct Channels {
    std::variant<const double*, const unsigned short*> row;
    std::size_t count = 1;
};

/// Two channels by their numbers.
using ChannelPair = std::pair<std::size_t, std::size_t>;

/// Means, variances and covariances (divided by n) of the channels of one block.
struct Block {
    std::uint64_t pixels = 0; ///< pixels that count
    std::vector<double> means;
    std::vector<double> variances;
    std::vector<double> covariances; ///< one per pair
};

/// Divides an image into square blocks side by side from the upper left corner, with smaller ones at the
/// right and lower edges, and finds the moments of each while rows are added. Sums are relative to the first
/// pixel of a block, so a constant channel has a variance of exactly 0.
class BlockMoments {
public:
    /// Calls `visitor` with every block in which a pixel counts.
    BlockMoments(std::size_t imageColumns, std::size_t channelCount, std::size_t blockSide,
                 const std::vector<ChannelPair>& channelPairs, std::function<void(const Block&)> visitor);

    /// Adds a row: the channels of all images, one image after the other. `valid` has a byte per pixel, 0 if
    /// it does not count.
    void AddRow(std::span<const Channels> images, const unsigned char* valid);
    /// Completes the blocks that the last row left open.
    void Finish();

private:
    struct Sums {
        std::uint64_t pixels = 0;
        std::vector<double> first;        ///< its first pixel
        std::vector<double> products;     ///< of the pairs, kernels::sumParts each
        std::vector<std::int32_t> wholes; ///< the same for sums in whole numbers, kernels::wholeParts each
    };
    /// A run of pixels of one block in a row.
    struct Run {
        std::size_t column = 0, pixels = 0;
        const unsigned char* valid = nullptr; ///< of its first pixel
        std::size_t count = 0;                ///< number of pixels that count
    };
    [[nodiscard]] bool Start(Sums& block, std::span<const Channels> images, const Run& run) const;
    void AddRun(Sums& block, std::span<const Channels> images, const Run& run);
    [[nodiscard]] bool AddWholes(Sums& block, const Run& run, const unsigned short* planesOfRun);
    [[nodiscard]] static double SumOf(const Sums& block, std::size_t pair);

    std::size_t columns, channels, side;
    kernels::AddProducts addProducts = kernels::AddProductsFor(kernels::ChosenSimdTarget());
    kernels::SpreadPixels spreadPixels = kernels::SpreadPixelsFor(kernels::ChosenSimdTarget());
    kernels::LessOrigins lessOrigins = kernels::LessOriginsFor(kernels::ChosenSimdTarget());
    kernels::AddWholeProducts addWholes = kernels::AddWholeProductsFor(kernels::ChosenSimdTarget());
    std::vector<ChannelPair> pairs; ///< each channel with ones and with itself, then the given pairs
    std::function<void(const Block&)> visit;
    std::vector<Sums> open; ///< the current row of blocks
    std::size_t rows = 0;   ///< rows added to it so far
    /// A row of a block, channel by channel, minus the block's first pixel; then ones.
    std::vector<double> planes;
    std::vector<unsigned short> spread, origins;
    std::vector<short> differences; ///< like `planes`, in whole numbers
};

} // namespace quality
