#include "fitting/GainFit.h"

#include "MadeBlocks.h"

#include <gtest/gtest.h>

namespace {

using namespace fitting;
using namespace testblocks;

// A band that is half of pan takes half of its detail. A band that is pan under slowly varying shade takes it
// by its ratio to pan. A band that runs against pan takes none.
TEST(GainFit, FindsWhatEachBandTakesOfTheDetail) {
    Status status;
    MadeBlocks blocks(72, 0.3, {half, shaded, reverse});
    GainFit fit;
    ASSERT_TRUE(FitGains(blocks, 0.3, {}, 2, fit, status));
    ASSERT_TRUE(fit.isFitted);
    EXPECT_NEAR(fit.gains[0].gain, 0.5, 0.01);
    EXPECT_NEAR(fit.gains[0].ratioGain, 0.0, 0.01);
    EXPECT_NEAR(fit.gains[1].gain, 0.0, 0.05);
    EXPECT_NEAR(fit.gains[1].ratioGain, 1.0, 0.05);
    EXPECT_EQ(fit.gains[2], BandGains());
    EXPECT_NEAR(fit.lowPassMean, 10000.0, 500.0);
    EXPECT_LT(*fit.error, 0.1 * *fit.plainError);
    // Given gains are judged; without gains there is no improvement.
    GainFit given;
    ASSERT_TRUE(FitGains(blocks, 0.3, {{}, {}, {}}, 2, given, status));
    EXPECT_DOUBLE_EQ(*given.error, *fit.plainError);
}

// They make no band darker where it is degraded.
TEST(GainFit, LeavesOutUnusablePixels) {
    Status status;
    MadeBlocks blocks(72, 0.3, {half});
    blocks.unusableEvery = 7;
    GainFit fit;
    ASSERT_TRUE(FitGains(blocks, 0.3, {}, 1, fit, status));
    EXPECT_NEAR(fit.gains[0].gain, 0.5, 0.02);
    EXPECT_NEAR(fit.gains[0].ratioGain, 0.0, 0.02);
    EXPECT_LT(*fit.error, 0.2 * *fit.plainError);
    // So sharp that each pixel is one of pan. One scale down it would lie between four, out of reach.
    blocks.origin = 0.5;
    blocks.unusableEvery = 72 * 72;
    ASSERT_TRUE(FitGains(blocks, 0.999, {}, 1, fit, status));
    EXPECT_EQ(fit.samples, 0u);
    EXPECT_GT(fit.lowPassMean, 9000.0);
}

TEST(GainFit, GoesByARuleOfThumbWhereSamplesAreFew) {
    Status status;
    MadeBlocks blocks(24, 0.3, {half, reverse});
    GainFit fit;
    ASSERT_TRUE(FitGains(blocks, 0.3, {}, 2, fit, status));
    EXPECT_FALSE(fit.isFitted || fit.error);
    EXPECT_EQ(fit.gains, (std::vector<BandGains>{{0.25, 0.5}, {0.0, 0.5}}));
}

} // namespace
