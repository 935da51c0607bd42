#include "quality/UniversalIndex.h"

#include <bit>
#include <cmath>

namespace quality {

namespace {

/// How near two numbers are, 1 when they are equal: 2ab / (a^2 + b^2), from the product and the sum of
/// squares. Two zeros count as equal.
double Nearness(double product, double squares) { return squares == 0.0 ? 1.0 : 2.0 * product / squares; }

/// The sign of the product of two units, which is unit i xor j: (a, b)(c, d) = (ac - d*b, da + bc*).
int SignOfProduct(std::size_t i, std::size_t j, std::size_t dimensions) {
    if (dimensions == 1) return 1;
    const std::size_t half = dimensions / 2;
    const auto conjugate = [](std::size_t unit) { return unit == 0 ? 1 : -1; };
    if (i < half && j < half) return SignOfProduct(i, j, half);
    if (i < half) return SignOfProduct(j - half, i, half);
    if (j < half) return SignOfProduct(i - half, j, half) * conjugate(j);
    return -SignOfProduct(j - half, i - half, half) * conjugate(j - half);
}

std::vector<ChannelPair> AllPairs(std::size_t bands) {
    std::vector<ChannelPair> pairs;
    for (std::size_t i = 0; i < bands; ++i)
        for (std::size_t j = 0; j < bands; ++j)
            pairs.emplace_back(i, bands + j);
    return pairs;
}

} // namespace

UniversalIndex::UniversalIndex(std::size_t columns, std::size_t channels, std::size_t side,
                               std::vector<ChannelPair> pairs)
    : sums(pairs.size()),
      moments(columns, channels, side, pairs, [this, pairs](const Block& block) { Add(block, pairs); }) {}

void UniversalIndex::Add(const Block& block, const std::vector<ChannelPair>& pairs) {
    pixels += block.pixels;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const auto [a, b] = pairs[i];
        const double means = Nearness(block.means[a] * block.means[b],
                                      block.means[a] * block.means[a] + block.means[b] * block.means[b]);
        const double spread = Nearness(block.covariances[i], block.variances[a] + block.variances[b]);
        sums[i] += static_cast<double>(block.pixels) * means * spread;
    }
}

void UniversalIndex::Append(UniversalIndex& below) {
    below.moments.Finish();
    for (std::size_t i = 0; i < sums.size(); ++i)
        sums[i] += below.sums[i];
    pixels += below.pixels;
}

std::vector<double> UniversalIndex::Find() {
    moments.Finish();
    std::vector<double> found;
    for (const double sum : sums)
        found.push_back(sum / static_cast<double>(pixels));
    return found;
}

HypercomplexIndex::HypercomplexIndex(std::size_t columns, std::size_t bandCount, std::size_t side)
    : bands(bandCount),
      moments(columns, 2 * bandCount, side, AllPairs(bandCount), [this](const Block& block) { Add(block); }) {
    for (std::size_t i = 0; i < bands; ++i)
        for (std::size_t j = 0; j < bands; ++j)
            signs.push_back(SignOfProduct(i, j, std::bit_ceil(bands)) * (j == 0 ? 1 : -1));
}

void HypercomplexIndex::Add(const Block& block) {
    double imageMean = 0.0, referenceMean = 0.0, variances = 0.0;
    std::vector<double> covariance(std::bit_ceil(bands));
    for (std::size_t i = 0; i < bands; ++i) {
        imageMean += block.means[i] * block.means[i];
        referenceMean += block.means[bands + i] * block.means[bands + i];
        variances += block.variances[i] + block.variances[bands + i];
        for (std::size_t j = 0; j < bands; ++j)
            covariance[i ^ j] += signs[i * bands + j] * block.covariances[i * bands + j];
    }
    double squares = 0.0;
    for (const double component : covariance)
        squares += component * component;
    sum += static_cast<double>(block.pixels) * Nearness(std::sqrt(squares), variances) *
           Nearness(std::sqrt(imageMean * referenceMean), imageMean + referenceMean);
    pixels += block.pixels;
}

void HypercomplexIndex::Append(HypercomplexIndex& below) {
    below.moments.Finish();
    sum += below.sum;
    pixels += below.pixels;
}

double HypercomplexIndex::Find() {
    moments.Finish();
    return sum / static_cast<double>(pixels);
}

} // namespace quality
