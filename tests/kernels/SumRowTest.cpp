#include "kernels/SumRow.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using namespace kernels;

// Numbers that no order of operations leaves alone: a sum in another order, or a product that is not rounded,
// differs in its last bits.
TEST(SumRow, EveryTargetGivesTheSameSums) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> number(-1e5, 1e5);
    const std::vector<std::pair<std::size_t, std::size_t>> pairs = {{0, 0}, {0, 2}, {1, 2}};
    for (const std::size_t length : {0u, 8u, 16u, 40u, 67u}) {
        std::vector<double> rows(3 * (length / sumParts * sumParts)), sums(length);
        std::vector<double> parts(pairs.size() * sumParts);
        std::vector<unsigned short> samples(length);
        for (auto* numbers : {&rows, &sums, &parts})
            std::generate(numbers->begin(), numbers->end(), [&] { return number(random); });
        for (auto& sample : samples)
            sample = static_cast<unsigned short>(random());
        std::vector<double> expectedParts = parts, expectedSums = sums;
        AddProductsScalar(rows.data(), rows.size() / 3, pairs.data(), pairs.size(), expectedParts.data());
        AddWeightedScalar(samples.data(), 0.1234567, length, expectedSums.data());
        for (const SimdTarget target : SimdTargets()) {
            auto foundParts = parts, foundSums = sums;
            AddProductsFor(target)(rows.data(), rows.size() / 3, pairs.data(), pairs.size(),
                                   foundParts.data());
            AddWeightedFor(target)(samples.data(), 0.1234567, length, foundSums.data());
            EXPECT_EQ(foundParts, expectedParts) << SimdTargetName(target) << " " << length;
            EXPECT_EQ(foundSums, expectedSums) << SimdTargetName(target) << " " << length;
        }
    }
}
