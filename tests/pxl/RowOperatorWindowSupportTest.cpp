#include "pxl/RowOperatorWindowSupport.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(RowOperatorWindowSupport, LimitsColumnsToTheRow) {
    struct Window : PXL::RowOperatorWindowSupport {
        using RowOperatorWindowSupport::SetColumns;
    };
    struct Case {
        std::uint32_t first, end, columns;
        std::array<std::uint32_t, 2> expected;
    };
    const Case cases[] = {
        {0, 0, 100, {0, 100}},     {10, 5, 100, {0, 100}},
        {5, 1000, 100, {5, 100}},  {10, 0, 100, {10, 100}},
        {99, 100, 100, {99, 100}}, {100, 101, 100, {0, 100}},
        {7, 7, 100, {0, 100}},     {3, 9, 100, {3, 9}},
        {3, 9, 0, {0, 0}},         {0xFFFFFFFFu, 0xFFFFFFFFu, 4, {0, 4}},
    };
    for (const Case& c : cases) {
        Window window;
        window.SetColumns(c.first, c.end, c.columns);
        EXPECT_EQ((std::array{window.firstColumn, window.endColumn}), c.expected)
            << c.first << " to " << c.end << " of " << c.columns;
    }
}

} // namespace
