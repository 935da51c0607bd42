#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace quality {

/// Two channels by their numbers.
using ChannelPair = std::pair<std::size_t, std::size_t>;

/// Means, variances and covariances (by n) of the channels of one block.
struct Block {
    std::uint64_t pixels = 0; ///< that count
    std::vector<double> means;
    std::vector<double> variances;
    std::vector<double> covariances; ///< one a pair
};

/// Cuts an image into square blocks that lie side by side from the upper left corner, smaller ones at the
/// right and lower edges, and finds the moments of each while its rows pass by. Sums are taken about the
/// first pixel of a block, so that a constant channel has a variance of exactly 0.
class BlockMoments {
public:
    /// `visit` gets every block in which a pixel counts.
    BlockMoments(std::size_t imageColumns, std::size_t channelCount, std::size_t blockSide,
                 std::vector<ChannelPair> channelPairs, std::function<void(const Block&)> visitor);

    /// Samples are doubles or unsigned shorts.
    template <class Sample>
    void AddRow(const Sample* samples, const unsigned char* valid);
    /// Ends the blocks that the last row left open.
    void Finish();

private:
    struct Sums {
        std::uint64_t pixels = 0;
        std::vector<double> first, sums, squares, products;
    };
    template <class Sample>
    void AddRun(Sums& block, const Sample* samples, const unsigned char* valid, std::size_t pixels);

    std::size_t columns, channels, side;
    std::vector<ChannelPair> pairs;
    std::function<void(const Block&)> visit;
    std::vector<Sums> open;     ///< the row of blocks under way
    std::size_t rows = 0;       ///< of it, so far
    std::vector<double> planes; ///< a row of a block, channel by channel, less the block's first pixel
};

} // namespace quality
