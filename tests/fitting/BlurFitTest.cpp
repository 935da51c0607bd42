#include "fitting/BlurFit.h"

#include "MadeBlocks.h"

#include <gtest/gtest.h>

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
