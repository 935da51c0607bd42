#include "quality/BlockMoments.h"

#include "kernels/SumRow.h"

#include <algorithm>
#include <numeric>
#include <type_traits>

namespace quality {

namespace {

using kernels::sumParts;
using kernels::wholeRow;

double AddUp(const double* parts) {
    return ((parts[0] + parts[4]) + (parts[2] + parts[6])) + ((parts[1] + parts[5]) + (parts[3] + parts[7]));
}

/// Calls `function` with the samples of each image and the index of its first channel.
template <class Function>
void ForImages(std::span<const Channels> images, const Function& function) {
    std::size_t first = 0;
    for (const Channels& image : images) {
        std::visit([&](const auto* row) { function(row, image.count, first); }, image.row);
        first += image.count;
    }
}

bool AreWhole(std::span<const Channels> images) {
    return std::all_of(images.begin(), images.end(), [](const Channels& image) {
        return std::holds_alternative<const unsigned short*>(image.row);
    });
}

} // namespace

BlockMoments::BlockMoments(std::size_t imageColumns, std::size_t channelCount, std::size_t blockSide,
                           const std::vector<ChannelPair>& channelPairs,
                           std::function<void(const Block&)> visitor)
    : columns(imageColumns), channels(channelCount), side(blockSide), visit(std::move(visitor)),
      open((imageColumns + blockSide - 1) / blockSide) {
    // The sum of a channel is the sum of its products with a row of ones.
    for (std::size_t i = 0; i < channels; ++i)
        pairs.emplace_back(i, channels);
    for (std::size_t i = 0; i < channels; ++i)
        pairs.emplace_back(i, i);
    pairs.insert(pairs.end(), channelPairs.begin(), channelPairs.end());
    for (Sums& block : open)
        block.first.resize(channels);
    spread.resize(channels * kernels::spreadPixels);
    origins.resize(channels);
    differences.resize(channels * wholeRow);
    differences.resize((channels + 1) * wholeRow, 1);
}

/// False when no pixel of the run counts.
bool BlockMoments::Start(Sums& block, std::span<const Channels> images, const Run& run) const {
    if (run.count == 0) return false;
    if (block.pixels == 0) {
        const auto at =
            run.column + static_cast<std::size_t>(std::find_if(run.valid, run.valid + run.pixels,
                                                               [](unsigned char has) { return has != 0; }) -
                                                  run.valid);
        ForImages(images, [&](const auto* row, std::size_t count, std::size_t first) {
            for (std::size_t i = 0; i < count; ++i)
                block.first[first + i] = static_cast<double>(row[at * count + i]);
        });
    }
    block.pixels += run.count;
    return true;
}

void BlockMoments::AddRun(Sums& block, std::span<const Channels> images, const Run& run) {
    const std::size_t length = (run.pixels + sumParts - 1) / sumParts * sumParts;
    planes.assign(channels * length, 0.0);
    planes.resize((channels + 1) * length, 1.0);
    ForImages(images, [&](const auto* row, std::size_t count, std::size_t first) {
        for (std::size_t i = 0; i < count; ++i) {
            double* plane = planes.data() + (first + i) * length;
            const auto* sample = row + run.column * count + i;
            for (std::size_t pixel = 0; pixel < run.pixels; ++pixel, sample += count)
                plane[pixel] = static_cast<double>(*sample) - block.first[first + i];
        }
    });
    if (run.count < run.pixels)
        for (std::size_t i = 0; i < channels; ++i)
            for (std::size_t pixel = 0; pixel < run.pixels; ++pixel)
                if (!run.valid[pixel]) planes[i * length + pixel] = 0.0;
    block.products.resize(pairs.size() * sumParts);
    addProducts(planes.data(), length, pairs.data(), pairs.size(), block.products.data());
}

/// The same in whole numbers, with the same result: a double holds these sums exactly. False when differences
/// are too large.
bool BlockMoments::AddWholes(Sums& block, const Run& run, const unsigned short* planesOfRun) {
    std::transform(block.first.begin(), block.first.end(), origins.begin(),
                   [](double sample) { return static_cast<unsigned short>(sample); });
    if (!lessOrigins(planesOfRun, origins.data(), channels, run.pixels, differences.data())) return false;
    if (run.count < run.pixels)
        for (std::size_t i = 0; i < channels; ++i)
            for (std::size_t pixel = 0; pixel < run.pixels; ++pixel)
                if (!run.valid[pixel]) differences[i * wholeRow + pixel] = 0;
    block.wholes.resize(pairs.size() * kernels::wholeParts);
    addWholes(differences.data(), pairs.data(), pairs.size(), block.wholes.data());
    return true;
}

void BlockMoments::AddRow(std::span<const Channels> images, const unsigned char* valid) {
    const bool isWhole = side <= wholeRow && AreWhole(images);
    const std::size_t part = isWhole ? kernels::spreadPixels / side * side : columns;
    for (std::size_t from = 0; from < columns; from += part) {
        const std::size_t end = std::min(from + part, columns);
        if (isWhole)
            ForImages(images, [&](const auto* row, std::size_t count, std::size_t first) {
                if constexpr (std::is_same_v<decltype(row), const unsigned short*>)
                    spreadPixels(row + from * count, count, end - from,
                                 spread.data() + first * kernels::spreadPixels);
            });
        for (std::size_t column = from; column < end; column += side) {
            Run run{column, std::min(side, columns - column), valid + column, 0};
            run.count = run.pixels - static_cast<std::size_t>(std::count(run.valid, run.valid + run.pixels,
                                                                         static_cast<unsigned char>(0)));
            Sums& block = open[column / side];
            if (!Start(block, images, run)) continue;
            if (!isWhole || !AddWholes(block, run, spread.data() + (column - from)))
                AddRun(block, images, run);
        }
    }
    if (++rows == side) Finish();
}

/// The sum of all products of a pair.
double BlockMoments::SumOf(const Sums& block, std::size_t pair) {
    const double real = block.products.empty() ? 0.0 : AddUp(block.products.data() + pair * sumParts);
    if (block.wholes.empty()) return real;
    const auto whole = block.wholes.begin() + static_cast<std::ptrdiff_t>(pair * kernels::wholeParts);
    return real + static_cast<double>(
                      std::accumulate(whole, whole + std::ptrdiff_t{kernels::wholeParts}, std::int64_t{0}));
}

void BlockMoments::Finish() {
    rows = 0;
    for (Sums& block : open) {
        if (block.pixels == 0) continue;
        const auto mean = [&](std::size_t pair) {
            return SumOf(block, pair) / static_cast<double>(block.pixels);
        };
        Block found{block.pixels, {}, {}, {}};
        std::vector<double> means; // minus the first pixel
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
        std::fill(block.wholes.begin(), block.wholes.end(), 0);
    }
}

} // namespace quality
