#include "imagery/CollarSearch.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(CollarSearch, EdgeOfTheTallestImageEnds) {
    KOVA::Tessara::Pixmere::RasterInfo info;
    info.cols = 1;
    info.rows = std::numeric_limits<std::uint32_t>::max();
    const auto rects = imagery::EdgeOf(info);
    EXPECT_EQ(rects.size(), 2u + 2u * 256u);
    EXPECT_EQ(rects.back().row0, info.rows / 256 * 256);
}

} // namespace
