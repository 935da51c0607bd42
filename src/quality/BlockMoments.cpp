#include "quality/BlockMoments.h"

#include <algorithm>

namespace quality {

BlockMoments::BlockMoments(std::size_t imageColumns, std::size_t channelCount, std::size_t blockSide,
                           std::vector<ChannelPair> channelPairs, std::function<void(const Block&)> visitor)
    : columns(imageColumns), channels(channelCount), side(blockSide), pairs(std::move(channelPairs)),
      visit(std::move(visitor)), open((imageColumns + blockSide - 1) / blockSide), differences(channelCount) {
    for (Sums& block : open) {
        block.first.resize(channels);
        block.sums.resize(channels);
        block.squares.resize(channels);
        block.products.resize(pairs.size());
    }
}

void BlockMoments::AddPixel(Sums& block, const double* pixel) {
    if (block.pixels++ == 0) std::copy_n(pixel, channels, block.first.begin());
    for (std::size_t i = 0; i < channels; ++i) {
        const double difference = pixel[i] - block.first[i];
        differences[i] = difference;
        block.sums[i] += difference;
        block.squares[i] += difference * difference;
    }
    for (std::size_t i = 0; i < pairs.size(); ++i)
        block.products[i] += differences[pairs[i].first] * differences[pairs[i].second];
}

void BlockMoments::AddRow(const double* samples, const unsigned char* valid) {
    for (std::size_t column = 0; column < columns; ++column)
        if (valid[column]) AddPixel(open[column / side], samples + column * channels);
    if (++rows == side) Finish();
}

void BlockMoments::Finish() {
    rows = 0;
    Block found;
    for (Sums& block : open) {
        if (block.pixels == 0) continue;
        const auto n = static_cast<double>(block.pixels);
        found = {block.pixels, {}, {}, {}};
        for (std::size_t i = 0; i < channels; ++i) {
            const double mean = block.sums[i] / n;
            found.means.push_back(block.first[i] + mean);
            found.variances.push_back(std::max(block.squares[i] / n - mean * mean, 0.0));
        }
        for (std::size_t i = 0; i < pairs.size(); ++i)
            found.covariances.push_back(block.products[i] / n -
                                        block.sums[pairs[i].first] / n * (block.sums[pairs[i].second] / n));
        visit(found);
        block.pixels = 0;
        for (auto* sums : {&block.sums, &block.squares, &block.products})
            std::fill(sums->begin(), sums->end(), 0.0);
    }
}

} // namespace quality
