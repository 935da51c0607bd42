#include "quality/BlockMoments.h"

#include "kernels/SumRow.h"

#include <algorithm>

namespace quality {

namespace {

using kernels::sumParts;

double AddUp(const double* parts) {
    return ((parts[0] + parts[4]) + (parts[2] + parts[6])) + ((parts[1] + parts[5]) + (parts[3] + parts[7]));
}

double At(const Channel& channel, std::size_t pixel) {
    return std::visit([&](const auto* samples) { return static_cast<double>(samples[pixel * channel.step]); },
                      channel.first);
}

void Spread(const Channel& channel, std::size_t column, std::size_t pixels, double origin, double* plane) {
    std::visit(
        [&](const auto* samples) {
            samples += column * channel.step;
            for (std::size_t pixel = 0; pixel < pixels; ++pixel)
                plane[pixel] = static_cast<double>(samples[pixel * channel.step]) - origin;
        },
        channel.first);
}

} // namespace

BlockMoments::BlockMoments(std::size_t imageColumns, std::size_t channelCount, std::size_t blockSide,
                           const std::vector<ChannelPair>& channelPairs,
                           std::function<void(const Block&)> visitor)
    : columns(imageColumns), channels(channelCount), side(blockSide), visit(std::move(visitor)),
      open((imageColumns + blockSide - 1) / blockSide) {
    // The sum of a channel is that of its products with a row of ones.
    for (std::size_t i = 0; i < channels; ++i)
        pairs.emplace_back(i, channels);
    for (std::size_t i = 0; i < channels; ++i)
        pairs.emplace_back(i, i);
    pairs.insert(pairs.end(), channelPairs.begin(), channelPairs.end());
    for (Sums& block : open) {
        block.first.resize(channels);
        block.products.resize(pairs.size() * sumParts);
    }
}

void BlockMoments::AddRun(Sums& block, std::span<const Channel> row, std::size_t column,
                          const unsigned char* valid, std::size_t pixels) {
    const std::size_t count =
        pixels - static_cast<std::size_t>(std::count(valid, valid + pixels, static_cast<unsigned char>(0)));
    if (count == 0) return;
    if (block.pixels == 0) {
        const auto at = static_cast<std::size_t>(
            std::find_if(valid, valid + pixels, [](unsigned char has) { return has != 0; }) - valid);
        for (std::size_t i = 0; i < channels; ++i)
            block.first[i] = At(row[i], column + at);
    }
    block.pixels += count;
    const std::size_t length = (pixels + sumParts - 1) / sumParts * sumParts;
    planes.assign(channels * length, 0.0);
    planes.resize((channels + 1) * length, 1.0);
    for (std::size_t i = 0; i < channels; ++i) {
        double* plane = planes.data() + i * length;
        Spread(row[i], column, pixels, block.first[i], plane);
        if (count < pixels)
            for (std::size_t pixel = 0; pixel < pixels; ++pixel)
                if (!valid[pixel]) plane[pixel] = 0.0;
    }
    addProducts(planes.data(), length, pairs.data(), pairs.size(), block.products.data());
}

void BlockMoments::AddRow(std::span<const Channel> row, const unsigned char* valid) {
    for (std::size_t column = 0; column < columns; column += side)
        AddRun(open[column / side], row, column, valid + column, std::min(side, columns - column));
    if (++rows == side) Finish();
}

void BlockMoments::Finish() {
    rows = 0;
    for (Sums& block : open) {
        if (block.pixels == 0) continue;
        const auto mean = [&](std::size_t pair) {
            return AddUp(block.products.data() + pair * sumParts) / static_cast<double>(block.pixels);
        };
        Block found{block.pixels, {}, {}, {}};
        std::vector<double> means; // less the first pixel
        for (std::size_t i = 0; i < channels; ++i) {
            means.push_back(mean(i));
            found.means.push_back(block.first[i] + means[i]);
            found.variances.push_back(std::max(mean(channels + i) - means[i] * means[i], 0.0));
        }
        for (std::size_t i = 2 * channels; i < pairs.size(); ++i)
            found.covariances.push_back(mean(i) - means[pairs[i].first] * means[pairs[i].second]);
        visit(found);
        block.pixels = 0;
        std::fill(block.products.begin(), block.products.end(), 0.0);
    }
}

} // namespace quality
