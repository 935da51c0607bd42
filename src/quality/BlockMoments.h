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

/// Samples of one channel of a row.
struct Channel {
    std::variant<const double*, const unsigned short*> first;
    std::size_t step = 1; ///< from one pixel to the next, in samples
};

/// Adds those of `count` bands of a row whose pixels are `step` samples apart.
template <class Sample>
void AddChannels(std::vector<Channel>& channels, const Sample* row, std::size_t count, std::size_t step) {
    for (std::size_t band = 0; band < count; ++band)
        channels.push_back({row + band, step});
}

/// Two channels by their numbers.
using ChannelPair = std::pair<std::size_t, std::size_t>;

/// Means, variances and covariances (by n) of the channels of one block.
struct Block {
    std::uint64_t pixels = 0; ///< that count
    std::vector<double> means;
    std::vector<double> variances;
    std::vector<double> covariances; ///< one per pair
};

/// Cuts an image into square blocks that lie side by side from the upper left corner, smaller ones at the
/// right and lower edges, and finds the moments of each while its rows pass by. Sums are taken about the
/// first pixel of a block, so that a constant channel has a variance of exactly 0.
class BlockMoments {
public:
    /// `visit` gets every block in which a pixel counts.
    BlockMoments(std::size_t imageColumns, std::size_t channelCount, std::size_t blockSide,
                 const std::vector<ChannelPair>& channelPairs, std::function<void(const Block&)> visitor);

    void AddRow(std::span<const Channel> row, const unsigned char* valid);
    /// Ends the blocks that the last row left open.
    void Finish();

private:
    struct Sums {
        std::uint64_t pixels = 0;
        std::vector<double> first;    ///< its first pixel
        std::vector<double> products; ///< of the pairs, kernels::sumParts each
    };
    void AddRun(Sums& block, std::span<const Channel> row, std::size_t column, const unsigned char* valid,
                std::size_t pixels);

    std::size_t columns, channels, side;
    kernels::AddProducts addProducts = kernels::AddProductsFor(kernels::ChosenSimdTarget());
    std::vector<ChannelPair> pairs; ///< of each channel with ones and with itself, then those given
    std::function<void(const Block&)> visit;
    std::vector<Sums> open; ///< the row of blocks under way
    std::size_t rows = 0;   ///< of it, so far
    std::vector<double>
        planes; ///< a row of a block, channel by channel, less the block's first pixel, then ones
};

} // namespace quality
