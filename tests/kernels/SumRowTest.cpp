#include "kernels/SumRow.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <vector>

using namespace kernels;

// Numbers whose sum depends on the order of operations: a sum in another order, or a product that is not
// rounded, differs in its last bits.
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
        const unsigned short* const twice[] = {samples.data(), samples.data() + length / 2};
        const double weights[] = {0.1234567, 0.7654321};
        const std::size_t half = length - length / 2;
        std::vector<double> expectedParts = parts, expectedSums = sums;
        AddProductsScalar(rows.data(), rows.size() / 3, pairs.data(), pairs.size(), expectedParts.data());
        SumWeightedScalar(twice, weights, 2, half, expectedSums.data());
        for (const SimdTarget target : SimdTargets()) {
            auto foundParts = parts, foundSums = sums;
            AddProductsFor(target)(rows.data(), rows.size() / 3, pairs.data(), pairs.size(),
                                   foundParts.data());
            SumWeightedFor(target)(twice, weights, 2, half, foundSums.data());
            EXPECT_EQ(foundParts, expectedParts) << SimdTargetName(target) << " " << length;
            EXPECT_EQ(foundSums, expectedSums) << SimdTargetName(target) << " " << length;
        }
    }
}

TEST(SumRow, EveryTargetGivesTheSameWholeNumbers) {
    std::mt19937 random(4);
    const std::vector<std::pair<std::size_t, std::size_t>> pairs = {{0, 0}, {0, 3}, {1, 2}};
    for (const std::size_t bands : {1u, 4u, 5u})
        for (const auto& [count, far] : {std::pair(32u, 0), {11u, 0}, {32u, 1}, {32u, -1}}) {
            std::vector<unsigned short> pixels(spreadPixels * bands), origins(bands, 30000);
            for (auto& sample : pixels)
                sample =
                    static_cast<unsigned short>(30000 - mostDifference + random() % (2 * mostDifference + 1));
            pixels[bands - 1] = static_cast<unsigned short>(30000 + far * (mostDifference + 1));
            const auto sums = [&, count = count, far = far](SimdTarget target) {
                std::vector<unsigned short> planes(bands * spreadPixels);
                std::vector<short> rows(4 * wholeRow);
                std::vector<std::int32_t> parts(pairs.size() * wholeParts);
                SpreadPixelsFor(target)(pixels.data(), bands, spreadPixels, planes.data());
                const bool fits = LessOriginsFor(target)(planes.data(), origins.data(),
                                                         std::min<std::size_t>(bands, 4), count, rows.data());
                EXPECT_EQ(fits, far == 0 || bands > 4) << SimdTargetName(target);
                for (std::size_t row = 0; row < wholeRow; ++row) // the most that the parts can hold
                    AddWholeProductsFor(target)(rows.data(), pairs.data(), pairs.size(), parts.data());
                std::vector<std::int64_t> found;
                for (auto part = parts.begin(); part != parts.end(); part += wholeParts)
                    found.push_back(std::accumulate(part, part + wholeParts, std::int64_t{0}));
                return found;
            };
            for (const SimdTarget target : SimdTargets())
                EXPECT_EQ(sums(target), sums(0)) << SimdTargetName(target) << " " << bands << " " << count;
        }
}

TEST(SumRow, EveryTargetGivesTheSameSumsOfPairs) {
    std::mt19937 random(5);
    for (const std::size_t count : {mostPairs, std::size_t{37}, std::size_t{0}}) {
        std::vector<std::int32_t> a(count, 1 << 20), b(count, -(1 << 20)); // the most that sums must hold
        if (count < mostPairs)
            for (auto* numbers : {&a, &b})
                std::generate(numbers->begin(), numbers->end(),
                              [&] { return static_cast<std::int32_t>(random() >> 11) - (1 << 20); });
        for (const SimdTarget target : SimdTargets()) {
            PairSums expected, found;
            AddPairsScalar(a.data(), b.data(), count, expected);
            AddPairsFor(target)(a.data(), b.data(), count, found);
            EXPECT_EQ(found, expected) << SimdTargetName(target) << " " << count;
        }
    }
}

TEST(SumRow, EveryTargetGivesTheSameAngles) {
    std::mt19937 random(6);
    constexpr std::size_t count = 203, stride = 210;
    for (const std::size_t bands : {1u, 4u, 9u})
        for (const unsigned noise : {1u, 300u, 60000u}) { // no angle, small ones, and those beyond the series
            std::vector<unsigned short> image(bands * stride), reference(image.size());
            for (std::size_t i = 0; i < image.size(); ++i) {
                image[i] = static_cast<unsigned short>(random() % 5000);
                reference[i] = static_cast<unsigned short>(image[i] + random() % noise);
            }
            for (std::size_t band = 0; band < bands; ++band) // two pixels without an angle
                image[band * stride + 3] = reference[band * stride + 202] = 0;
            for (const SimdTarget target : SimdTargets()) {
                AngleSum expected, found;
                AddAnglesScalar(image.data(), reference.data(), stride, bands, count, expected);
                AddAnglesFor(target)(image.data(), reference.data(), stride, bands, count, found);
                EXPECT_EQ(found, expected) << SimdTargetName(target) << " " << bands << " " << noise;
            }
        }
}
