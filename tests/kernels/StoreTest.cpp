// The three rules for storing, for all kinds of doubles, at both depths.
#include "kernels/Store.h"

#include <gtest/gtest.h>

namespace {

using namespace kernels;

constexpr double infinity = std::numeric_limits<double>::infinity();

struct Case {
    double x;
    unsigned rounded8, truncated8, rounded16, truncated16;
};

TEST(Store, StaysWithinThePixelRange) {
    const Case cases[] = {
        {-infinity, 0, 0, 0, 0},
        {-1e300, 0, 0, 0, 0},
        {-0.5, 0, 0, 0, 0},
        {-0.0, 0, 0, 0, 0},
        {0.49999999999999994, 1, 0, 1, 0}, // + 0.5 rounds to 1 before it is truncated
        {0.4999999999999999, 0, 0, 0, 0},
        {0.5, 1, 0, 1, 0},
        {137.5, 138, 137, 138, 137},
        {254.5, 255, 254, 255, 254},
        {255.0, 255, 255, 255, 255},
        {255.9, 255, 255, 256, 255},
        {65534.5, 255, 255, 65535, 65534},
        {65535.7, 255, 255, 65535, 65535},
        {1e300, 255, 255, 65535, 65535},
        {std::nan(""), 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(StoreRounded<unsigned char>(c.x), c.rounded8) << c.x;
        EXPECT_EQ(StoreTruncated<unsigned char>(c.x), c.truncated8) << c.x;
        EXPECT_EQ(StoreRounded<unsigned short>(c.x), c.rounded16) << c.x;
        EXPECT_EQ(StoreTruncated<unsigned short>(c.x), c.truncated16) << c.x;
        EXPECT_EQ(StoreTruncatedFinite<unsigned char>(c.x), c.truncated8) << c.x;
    }
    // The last two rules differ only for infinities.
    EXPECT_EQ(StoreRounded<unsigned char>(infinity), 255);
    EXPECT_EQ(StoreTruncated<unsigned short>(infinity), 65535);
    EXPECT_EQ(StoreTruncatedFinite<unsigned char>(infinity), 0);
}

} // namespace
