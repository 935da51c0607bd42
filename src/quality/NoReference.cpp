#include "quality/NoReference.h"

#include <algorithm>
#include <cmath>

namespace quality {

namespace {

std::vector<ChannelPair> PairsWithPan(std::size_t bands) {
    std::vector<ChannelPair> pairs;
    for (std::size_t i = 0; i < bands; ++i)
        for (std::size_t j = i + 1; j < bands; ++j)
            pairs.emplace_back(i, j);
    for (std::size_t band = 0; band < bands; ++band)
        pairs.emplace_back(band, bands);
    return pairs;
}

} // namespace

ScaleIndices::ScaleIndices(std::size_t imageColumns, std::size_t bandCount, std::size_t side)
    : columns(imageColumns), bands(bandCount), index(columns, bands + 1, side, PairsWithPan(bands)),
      all(columns * (bands + 1)) {}

void ScaleIndices::AddRow(const double* image, const double* pan, const unsigned char* valid) {
    for (std::size_t column = 0; column < columns; ++column)
        *std::copy_n(image + column * bands, bands, all.data() + column * (bands + 1)) = pan[column];
    index.AddRow(all.data(), valid);
}

ScaleIndices::Found ScaleIndices::Find() {
    const std::vector<double> found = index.Find();
    const auto middle = found.end() - static_cast<std::ptrdiff_t>(bands);
    return {{found.begin(), middle}, {middle, found.end()}};
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
