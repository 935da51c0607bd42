#include "fitting/BlurFit.h"

#include "MadeBlocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numbers>

namespace {

using namespace fitting;
using namespace testblocks;

// Finds the blur that the bands were made with, minus pan's own blur: 0.14 pan pixels of variance.
TEST(BlurFit, FindsTheBlurOfTheBands) {
    Status status;
    for (const bool isTurned : {false, true})
        for (const double transfer : {0.25, 0.33, 0.45, 0.52}) {
            MadeBlocks blocks(72, transfer, {half, [](double low, auto column, auto row) {
                                                 return low + 4000.0 * Noise(column / 5, row / 5, 3);
                                             }});
            blocks.isTurned = isTurned;
            blocks.oddness = 9000.0;
            BlurFit fit;
            ASSERT_TRUE(FitBlur(blocks, fit, status));
            const double expected =
                transfer * std::exp(-std::numbers::pi * std::numbers::pi / 2.0 * 0.14 / (ratio * ratio));
            EXPECT_NEAR(fit.transfer, expected, 0.02) << transfer;
            EXPECT_GT(fit.rSquared, 0.99);
        }
}

// Flat pan stays flat beside a hole; within it there is no mean.
TEST(FitBlock, LeavesOutUnusablePan) {
    for (const bool isTurned : {false, true}) {
        FitBlock block{{0, 0, 12, 12}, 1,  {}, {},
                       {0, 0, 48, 48}, {}, {}, {{0.0, ratio}, {0.0, ratio}, isTurned}};
        block.usable.assign(144, 1);
        std::vector<unsigned char> usable(48 * 48, 255);
        for (std::size_t row = 16; row < 32; ++row)
            std::fill_n(&usable[row * 48 + 16], 16, static_cast<unsigned char>(0));
        block.SetPan(std::vector<unsigned short>(usable.size(), 1000), usable);
        const std::vector<double> low = block.LowPass(0.3);
        for (std::size_t pixel = 0; pixel < low.size(); ++pixel)
            if (pixel / 12 / 4 == 1 && pixel % 12 / 4 == 1)
                EXPECT_TRUE(std::isnan(low[pixel])) << pixel;
            else
                EXPECT_NEAR(low[pixel], 1000.0, 1e-6) << pixel;
    }
}

TEST(BlurFit, TakesTheUsualBlurWhereThePairDoesNotTell) {
    Status status;
    BlurFit fit;
    MadeBlocks foreign(72, 0.5,
                       {[](double, auto column, auto row) { return 5000.0 * Noise(column, row, 5); }});
    ASSERT_TRUE(FitBlur(foreign, fit, status));
    EXPECT_NE(fit.obstacle.find("R² 0.0"), std::string::npos) << fit.obstacle;
    EXPECT_EQ(fit.transfer, usualTransfer);
    MadeBlocks tiny(6, 0.5, {half});
    ASSERT_TRUE(FitBlur(tiny, fit, status));
    EXPECT_NE(fit.obstacle.find("too few"), std::string::npos) << fit.obstacle;
}

} // namespace
