#include "imagery/OutputRow.h"

#include <gmock/gmock.h>

namespace {

using imagery::LimitTally;
using imagery::OutputRules;
using testing::ElementsAreArray;
using testing::Pair;

// Two bands; a pixel without data beside one whose sample equals the nodata value.
TEST(OutputRow, ShowsWhereThereIsNoData) {
    const std::vector<unsigned short> fused = {0, 7, 4095, 5000, 8, 9, 7, 6};
    const std::vector<unsigned char> valid = {1, 1, 0, 1};
    const struct {
        OutputRules rules;
        bool isGapped;
        std::vector<unsigned short> row;
        LimitTally tally;
    } cases[] = {
        {{2, 65535, {}, false}, false, {0, 7, 4095, 5000, 8, 9, 7, 6}, {{1, 0}, {0, 0}}},
        {{2, 4095, {}, false}, true, {0, 7, 4095, 4095, 0, 0, 7, 6}, {{1, 1}, {0, 1}}},
        {{2, 65535, 0u, false}, true, {1, 7, 4095, 5000, 0, 0, 7, 6}, {{0, 0}, {0, 0}}},
        {{2, 65535, 7u, false}, true, {0, 8, 4095, 5000, 7, 7, 8, 6}, {{1, 0}, {0, 0}}},
        {{2, 4095, 4095u, false}, true, {0, 7, 4094, 4094, 4095, 4095, 7, 6}, {{1, 0}, {0, 0}}},
        {{2, 65535, {}, true},
         true,
         {0, 7, 65535, 4095, 5000, 65535, 0, 0, 0, 7, 6, 65535},
         {{1, 0}, {0, 0}}},
        {{2, 65535, {}, true},
         false,
         {0, 7, 65535, 4095, 5000, 65535, 8, 9, 65535, 7, 6, 65535},
         {{1, 0}, {0, 0}}},
    };
    for (const auto& c : cases) {
        std::vector<unsigned short> row(c.row.size());
        LimitTally tally(2);
        MakeOutputRow(fused.data(), c.isGapped ? valid.data() : nullptr, 4, c.rules, row.data(), tally);
        EXPECT_THAT(row, ElementsAreArray(c.row));
        EXPECT_THAT(tally, ElementsAreArray(c.tally));
    }
}

} // namespace
