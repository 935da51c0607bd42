#include "kernels/LowPassRow.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <random>

namespace {

using namespace kernels;

/// Rows of exactly their size, with the largest samples among them, and weights with the largest possible
/// sum.
template <class T>
void ExpectSameSums(std::size_t count, std::size_t columns, std::mt19937& random) {
    std::vector<std::vector<T>> rows(count, std::vector<T>(columns));
    std::vector<const T*> starts;
    std::vector<std::uint32_t> weights(count, lowPassOne / static_cast<std::uint32_t>(count));
    weights.front() += lowPassOne % static_cast<std::uint32_t>(count);
    for (auto& row : rows) {
        for (T& sample : row)
            sample = random() % 4 == 0 ? std::numeric_limits<T>::max() : static_cast<T>(random());
        starts.push_back(row.data());
    }
    std::vector<std::uint32_t> expected(columns);
    WeighRowsScalar<T>(starts.data(), weights.data(), count, columns, expected.data());
    for (const SimdTarget target : SimdTargets()) {
        std::vector<std::uint32_t> sums(columns);
        WeighRowsFor<T>(target)(starts.data(), weights.data(), count, columns, sums.data());
        EXPECT_EQ(sums, expected) << SimdTargetName(target) << " " << count << " x " << columns;
    }
}

TEST(LowPassRow, EveryTargetGivesTheSameSums) {
    std::mt19937 random(7);
    for (const std::size_t count : {1u, 2u, 7u, 14u, 300u})
        for (const std::size_t columns : {0u, 1u, 15u, 64u, 67u, 131u}) {
            ExpectSameSums<unsigned char>(count, columns, random);
            ExpectSameSums<unsigned short>(count, columns, random);
        }
}

// The last pixels of each axis are out of reach of the fine ones. The second sigma has 144 taps, which reach
// further than is summed by steps.
TEST(LowPassRow, EveryTargetGivesTheSameSumsAcross) {
    std::mt19937 random(8);
    for (const auto& [ratio, offset, sigma] : {std::array{0.25, 0.0, 0.5},
                                               {0.25, 0.0, 6.0},
                                               {1.0 / 3, 0.5, 0.5},
                                               {0.5, 0.0, 0.7},
                                               {1.0 / 12, 0.0, 0.5},
                                               {0.3, 0.1, 0.5}}) {
        constexpr std::uint32_t coarsePixels = 1100, finePixels = 2000, start = 100;
        const LowPassAxis across(MakeGridAxis(ratio, offset), sigma, coarsePixels, finePixels);
        const std::uint32_t first = across.GetTaps(start).first;
        std::vector<std::uint32_t> down(finePixels - first + lowPassGroup);
        for (std::uint32_t& sum : down)
            sum = random() % 4 == 0 ? (1u << 30) - 1 : static_cast<std::uint32_t>(random()) >> 2;
        std::vector<std::uint64_t> expected(coarsePixels - start);
        WeighAcrossScalar(across, start, expected.size(), down.data(), first, expected.data());
        for (const SimdTarget target : SimdTargets()) {
            std::vector<std::uint64_t> sums(expected.size());
            WeighAcrossFor(target)(across, start, sums.size(), down.data(), first, sums.data());
            EXPECT_EQ(sums, expected) << SimdTargetName(target) << " " << ratio << " " << sigma;
        }
    }
}

// With sigma of half a coarse pixel, 3 sigma are 3 pixels of the fine grid at ratio 2, and 6 at ratio 4. At
// the edge the weights of the existing pixels still add up to the whole; out of reach there are none.
TEST(LowPassAxis, WeightsLieAboutTheTruePlaceOfThePixel) {
    const struct {
        double ratio, offset;
        std::uint32_t coarse, first, count;
    } cases[] = {
        {0.5, 0.0, 10, 18, 6},   // its centre lies between 20 and 21
        {0.5, 0.75, 10, 16, 7},  // and on 19: 1.5 fine pixels to the left
        {0.25, 0.0, 10, 36, 12}, // between 41 and 42
        {0.5, 0.0, 0, 0, 4},     {0.5, 10.0, 5, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.ratio << " " << c.offset << " pixel " << c.coarse);
        const GridAxis axis = MakeGridAxis(c.ratio, c.offset);
        const LowPassAxis low(axis, 0.5, 20, 400);
        const LowPassAxis::Taps& taps = low.GetTaps(c.coarse);
        EXPECT_EQ(taps.count, c.count);
        if (c.count == 0) continue;
        EXPECT_EQ(taps.first, c.first);
        const std::uint32_t* weights = low.GetWeights(taps);
        EXPECT_EQ(std::accumulate(weights, weights + c.count, 0u), lowPassOne);
        if (c.coarse == 0) continue;
        double mean = 0.0;
        for (std::uint32_t i = 0; i < c.count; ++i)
            mean += (taps.first + i) * static_cast<double>(weights[i]) / lowPassOne;
        EXPECT_NEAR(mean, (c.coarse + 0.5 - c.offset) / c.ratio - 0.5, 0.001);
        EXPECT_NEAR(weights[c.count / 2], weights[(c.count - 1) / 2], 1.0);
    }
}

} // namespace
