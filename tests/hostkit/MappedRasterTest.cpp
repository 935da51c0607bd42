#include "hostkit/MappedRaster.h"
#include "CodedImage.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace testimages;
using hostkit::Reach;

// Positions zigzag between control points, so that the ends of a row say nothing about its middle. A window
// of one column is examined by itself; wider ones are examined in runs of columns.
TEST(MappedRaster, FindsTheSameReachInRunsOfColumnsAsColumnByColumn) {
    constexpr std::uint32_t step = 8, columns = 128, rows = 24;
    const std::uint32_t pointColumns = hostkit::PixelMap::CountPoints(columns, step);
    std::vector<hostkit::Point> points;
    for (std::uint32_t row = 0; row < hostkit::PixelMap::CountPoints(rows, step); ++row)
        for (std::uint32_t column = 0; column < pointColumns; ++column)
            points.push_back({2.0 * column, (column % 4 == 2 ? 14.0 : 4.0) + row});
    const hostkit::PixelMap map(step, pointColumns, points);
    const CodedImage<unsigned char> image(MakeInfo(40, 24, 1, 8));
    for (const std::uint32_t gapRow : {3u, 12u, 16u}) {
        std::vector<unsigned char> valid(40 * 24, 0xFF);
        std::fill_n(valid.begin() + gapRow * 40, 40, static_cast<unsigned char>(0));
        hostkit::SampleBlock block = image.Whole().block;
        block.valid = valid.data();
        const auto reachOf = [&](std::uint32_t col0, std::uint32_t col1, std::uint32_t row) {
            hostkit::MappedRaster raster;
            EXPECT_TRUE(raster.Open(MakeInfo(columns, rows, 1, 8), PixelRect{col0, 0, col1, rows}, image.info,
                                    block, map, hostkit::Resampling::Bilinear));
            const Reach* found = raster.FindReach(row);
            return found ? std::vector<Reach>(found, found + (col1 - col0))
                         : std::vector<Reach>(col1 - col0, Reach::All);
        };
        for (const std::uint32_t row : {0u, 9u, 23u}) {
            std::vector<Reach> expected;
            for (std::uint32_t column = 0; column < columns; ++column)
                expected.push_back(reachOf(column, column + 1, row).front());
            for (const std::uint32_t from : {0u, 5u, 17u})
                EXPECT_EQ(reachOf(from, columns, row),
                          std::vector<Reach>(expected.begin() + from, expected.end()))
                    << gapRow << ' ' << row << ' ' << from;
        }
    }
}

} // namespace
