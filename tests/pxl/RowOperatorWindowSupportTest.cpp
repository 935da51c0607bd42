#include "pxl/RowOperatorWindowSupport.h"

#include <gtest/gtest.h>

namespace {

TEST(RowOperatorWindowSupport, LimitsColumnsToTheRow) {
    struct Window : PXL::RowOperatorWindowSupport {
        using RowOperatorWindowSupport::SetColumns;
    };
    const struct {
        std::uint32_t first, end, columns, expectedFirst, expectedEnd;
    } cases[] = {{0, 0, 100, 0, 100},     {10, 5, 100, 0, 100},
                 {5, 1000, 100, 5, 100},  {10, 0, 100, 10, 100},
                 {99, 100, 100, 99, 100}, {100, 101, 100, 0, 100},
                 {7, 7, 100, 0, 100},     {3, 9, 100, 3, 9},
                 {3, 9, 0, 0, 0},         {0xFFFFFFFFu, 0xFFFFFFFFu, 4, 0, 4}};
    for (const auto& c : cases) {
        Window window;
        window.SetColumns(c.first, c.end, c.columns);
        EXPECT_TRUE(window.firstColumn == c.expectedFirst && window.endColumn == c.expectedEnd)
            << c.first << " to " << c.end << " of " << c.columns;
    }
}

} // namespace
