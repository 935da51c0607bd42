// Stored samples of a hue are 0 or 1, so only the fractions show whether the sectors are right.
#include "kernels/HsiRow.h"

#include <gtest/gtest.h>

namespace {

using namespace kernels;

TEST(HsiRow, KnowsTheSixPureHuesAndTheWayBetweenThem) {
    struct Hue {
        double r, g, b, hue, saturation, lightness;
    };
    const Hue cases[] = {
        {1, 0, 0, 6. / 6, 1, 0.5},
        {1, 1, 0, 1. / 6, 1, 0.5},
        {0, 1, 0, 2. / 6, 1, 0.5},
        {0, 1, 1, 3. / 6, 1, 0.5},
        {0, 0, 1, 4. / 6, 1, 0.5},
        {1, 0, 1, 5. / 6, 1, 0.5},
        {1, 0.5, 0, 0.5 / 6, 1, 0.5},
        {0.5, 1, 0, 1.5 / 6, 1, 0.5},
        {0, 1, 0.5, 2.5 / 6, 1, 0.5},
        {0, 0.5, 1, 3.5 / 6, 1, 0.5},
        {0.5, 0, 1, 4.5 / 6, 1, 0.5},
        {1, 0, 0.5, 5.5 / 6, 1, 0.5},
        {0.5, 0.25, 0.25, 1, 1. / 3, 0.375},
        {1, 0.5, 0.5, 1, 1, 0.75},
        {0.25, 0.25, 0.25, 0, 0, 0.25},
        {0, 0, 0, 0, 0, 0},
        {1, 1, 1, 0, 0, 1},
    };
    for (const Hue& c : cases) {
        const Hsi hsi = ToHsi(c.r, c.g, c.b);
        EXPECT_NEAR(hsi.hue, c.hue, 1e-15);
        EXPECT_NEAR(hsi.saturation, c.saturation, 1e-15);
        EXPECT_NEAR(hsi.lightness, c.lightness, 1e-15);
        const auto rgb = ToRgb(hsi);
        EXPECT_NEAR(rgb[0], c.r, 1e-15) << c.hue;
        EXPECT_NEAR(rgb[1], c.g, 1e-15) << c.hue;
        EXPECT_NEAR(rgb[2], c.b, 1e-15) << c.hue;
    }
    for (const double hue : {1.5, -0.25, 1e300, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(ToRgb({hue, 1, 0.5})[0], 1.0) << "a hue outside the turn counts as red to yellow";
}

} // namespace
