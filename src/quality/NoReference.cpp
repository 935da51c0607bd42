#include "quality/NoReference.h"

#include <algorithm>
#include <cmath>

namespace quality {

namespace {

/// For each image in turn: the pairs of its bands, then of each band with pan.
std::vector<ChannelPair> PairsWithPan(std::size_t bands, std::size_t images) {
    std::vector<ChannelPair> pairs;
    const std::size_t pan = bands * images;
    for (std::size_t first = 0; first < pan; first += bands) {
        for (std::size_t i = 0; i < bands; ++i)
            for (std::size_t j = i + 1; j < bands; ++j)
                pairs.emplace_back(first + i, first + j);
        for (std::size_t band = 0; band < bands; ++band)
            pairs.emplace_back(first + band, pan);
    }
    return pairs;
}

} // namespace

ScaleIndices::ScaleIndices(std::size_t imageColumns, std::size_t bandCount, std::size_t imageCount,
                           std::size_t side)
    : bands(bandCount), images(imageCount),
      index(imageColumns, bands * images + 1, side, PairsWithPan(bands, images)) {}

std::vector<ScaleIndices::Found> ScaleIndices::Find() {
    const std::vector<double> all = index.Find();
    std::vector<Found> found;
    const auto length = static_cast<std::ptrdiff_t>(all.size() / images);
    for (auto from = all.begin(); from != all.end(); from += length) {
        const auto middle = from + length - static_cast<std::ptrdiff_t>(bands);
        found.push_back({{from, middle}, {middle, from + length}});
    }
    return found;
}

std::size_t CoarseBlockSide(double ratio) {
    return static_cast<std::size_t>(std::max(std::lround(static_cast<double>(blockSide) / ratio), 2L));
}

double Distortion(const std::vector<double>& fine, const std::vector<double>& coarse) {
    double sum = 0.0;
    for (std::size_t i = 0; i < fine.size(); ++i)
        sum += std::fabs(fine[i] - coarse[i]);
    return fine.empty() ? 0.0 : sum / static_cast<double>(fine.size());
}

} // namespace quality
