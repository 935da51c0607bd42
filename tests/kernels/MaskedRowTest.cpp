#include "kernels/MaskedRow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

template <class T>
class MaskedRowTest : public testing::Test {};
using SampleTypes = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(MaskedRowTest, SampleTypes, );

// Runs of every length up to three vectors, one after the other or apart, the last at the row's end. Rows of
// exactly their size; the columns between runs keep their samples.
TYPED_TEST(MaskedRowTest, EveryTargetWritesTheScalarSamples) {
    using T = TypeParam;
    std::mt19937 random(5);
    const auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
    for (std::uint32_t bands = 1; bands <= 9; ++bands)
        for (std::uint32_t longest = 1; longest <= (bands == 4 ? 120U : 12U); ++longest) {
            const std::uint32_t pixels = 1 + below(30);
            std::vector<T> upper(pixels * bands), lower(pixels * bands);
            for (auto* row : {&upper, &lower})
                for (T& sample : *row)
                    sample = static_cast<T>(random());
            std::vector<kernels::MaskedRun> runs;
            std::uint32_t columns = 0;
            for (std::uint32_t pixel = 0; pixel < pixels; ++pixel) {
                const std::uint32_t first = columns + below(3), has = 1 + below(15);
                columns = first + 1 + below(std::min(longest, 12U));
                runs.push_back({first,
                                columns,
                                pixel * bands,
                                std::min(pixel + 1, pixels - 1) * bands,
                                {(has & 1) != 0, (has & 2) != 0, (has & 4) != 0, (has & 8) != 0}});
            }
            const std::uint32_t across = 2U << below(4), down = 2U << below(4);
            const bool isExact = below(2) == 0;
            std::vector<double> fractions(columns + kernels::maskedPadding);
            for (double& fraction : fractions)
                fraction = isExact ? (1.0 + below(across - 1)) / across
                                   : (1 + below(48)) / (below(2) == 0 ? 49.0 : 64.0);
            for (const kernels::MaskedRun& run : runs) // 0 where a pixel that keeps its weight has data
                if (run.hasData[0]) fractions[run.column] = 0.0;
            const std::vector<float> exact(fractions.begin(), fractions.end());
            const double fraction = isExact ? (1.0 + below(down - 1)) / down : (1 + below(6)) / 7.0;
            const kernels::MaskedSource<T> source{upper.data(), lower.data(), fraction, bands};
            const kernels::MaskedFractions places{fractions.data(), isExact ? exact.data() : nullptr};
            std::vector<T> expected(columns * bands, 9);
            kernels::MaskedRowScalar<T>(source, runs, places, expected.data());
            for (const kernels::SimdTarget target : kernels::SimdTargets()) {
                std::vector<T> made(columns * bands, 9);
                kernels::MaskedRowFor<T>(target)(source, runs, places, made.data());
                EXPECT_EQ(made, expected)
                    << kernels::SimdTargetName(target) << ' ' << bands << ' ' << longest;
            }
        }
}

} // namespace
