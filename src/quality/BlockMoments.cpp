#include "quality/BlockMoments.h"

#include <algorithm>
#include <array>

namespace quality {

namespace {

/// Sums are made in so many parts side by side, which a compiler turns into vectors.
constexpr std::size_t lanes = 4;

double AddUp(const std::array<double, lanes>& parts) { return (parts[0] + parts[1]) + (parts[2] + parts[3]); }

/// `count` is a multiple of the lanes.
double Sum(const double* a, std::size_t count) {
    std::array<double, lanes> parts{};
    for (std::size_t i = 0; i < count; i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            parts[lane] += a[i + lane];
    return AddUp(parts);
}

double SumOfProducts(const double* a, const double* b, std::size_t count) {
    std::array<double, lanes> parts{};
    for (std::size_t i = 0; i < count; i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            parts[lane] += a[i + lane] * b[i + lane];
    return AddUp(parts);
}

} // namespace

BlockMoments::BlockMoments(std::size_t imageColumns, std::size_t channelCount, std::size_t blockSide,
                           std::vector<ChannelPair> channelPairs, std::function<void(const Block&)> visitor)
    : columns(imageColumns), channels(channelCount), side(blockSide), pairs(std::move(channelPairs)),
      visit(std::move(visitor)), open((imageColumns + blockSide - 1) / blockSide) {
    for (Sums& block : open) {
        block.first.resize(channels);
        block.sums.resize(channels);
        block.squares.resize(channels);
        block.products.resize(pairs.size());
    }
}

template <class Sample>
void BlockMoments::AddRun(Sums& block, const Sample* samples, const unsigned char* valid,
                          std::size_t pixels) {
    const std::size_t count =
        pixels - static_cast<std::size_t>(std::count(valid, valid + pixels, static_cast<unsigned char>(0)));
    if (count == 0) return;
    if (block.pixels == 0) {
        const auto at = static_cast<std::size_t>(
            std::find_if(valid, valid + pixels, [](unsigned char has) { return has != 0; }) - valid);
        std::copy_n(samples + at * channels, channels, block.first.begin());
    }
    block.pixels += count;
    const std::size_t length = (pixels + lanes - 1) / lanes * lanes;
    planes.assign(channels * length, 0.0);
    for (std::size_t i = 0; i < channels; ++i) {
        double* plane = planes.data() + i * length;
        const double first = block.first[i];
        for (std::size_t pixel = 0; pixel < pixels; ++pixel)
            plane[pixel] = static_cast<double>(samples[pixel * channels + i]) - first;
        if (count < pixels)
            for (std::size_t pixel = 0; pixel < pixels; ++pixel)
                if (!valid[pixel]) plane[pixel] = 0.0;
        block.sums[i] += Sum(plane, length);
        block.squares[i] += SumOfProducts(plane, plane, length);
    }
    for (std::size_t i = 0; i < pairs.size(); ++i)
        block.products[i] += SumOfProducts(planes.data() + pairs[i].first * length,
                                           planes.data() + pairs[i].second * length, length);
}

template <class Sample>
void BlockMoments::AddRow(const Sample* samples, const unsigned char* valid) {
    for (std::size_t column = 0; column < columns; column += side)
        AddRun(open[column / side], samples + column * channels, valid + column,
               std::min(side, columns - column));
    if (++rows == side) Finish();
}
template void BlockMoments::AddRow(const double*, const unsigned char*);
template void BlockMoments::AddRow(const unsigned short*, const unsigned char*);

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
