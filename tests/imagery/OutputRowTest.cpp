#include "imagery/OutputRow.h"

#include <gtest/gtest.h>

namespace {

using imagery::LimitTally;
using imagery::OutputRules;

// Two bands; a pixel without data beside one whose sample equals the nodata value.
TEST(OutputRow, ShowsWhereThereIsNoData) {
    const std::vector<unsigned short> fused = {0, 7, 4095, 5000, 8, 9, 7, 6};
    const std::vector<unsigned char> valid = {1, 1, 0, 1};
    const struct {
        OutputRules rules;
        bool isGapped;
        std::vector<unsigned short> row;
        LimitTally tally;
        bool isFilled = false; // not fused
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
        {{2, 4095, 7u, false, true}, true, {0, 8, 4095, 4095, 7, 7, 8, 6}, {{1, 1}, {0, 1}}},
        {{2, 65535, {}, true, true},
         true,
         {0, 7, 65535, 4095, 5000, 65535, 0, 0, 0, 7, 6, 65535},
         {{1, 0}, {0, 0}}},
        {{2, 65535, 9u, false}, true, {9, 9, 9, 9, 9, 9, 9, 9}, {{0, 0}, {0, 0}}, true},
        {{2, 65535, 9u, true},
         true,
         {9, 9, 65535, 9, 9, 65535, 9, 9, 0, 9, 9, 65535},
         {{0, 0}, {0, 0}},
         true},
    };
    // Once, and repeated in a row that is longer than what is processed together.
    for (const auto& c : cases)
        for (const std::size_t times : {1u, 70u}) {
            const auto repeat = [times](const auto& once) {
                auto all = once;
                while (all.size() < once.size() * times)
                    all.insert(all.end(), once.begin(), once.end());
                return all;
            };
            const auto samples = repeat(fused), expected = repeat(c.row);
            const auto has = repeat(valid);
            std::vector<unsigned short> row(expected.size());
            LimitTally tally(2);
            MakeOutputRow(c.isFilled ? nullptr : samples.data(), c.isGapped ? has.data() : nullptr,
                          has.size(), c.rules, row.data(), tally);
            EXPECT_EQ(row, expected);
            LimitTally counted = c.tally;
            for (auto& [least, most] : counted)
                least *= times, most *= times;
            EXPECT_EQ(tally, counted);
        }
}

template <class T>
class LimitTallyTest : public testing::Test {};
using SampleTypes = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(LimitTallyTest, SampleTypes, );

// More pixels than a byte counts groups, all of them at a limit.
TYPED_TEST(LimitTallyTest, CountsLongRows) {
    for (const std::size_t bands : {1u, 3u, 65u}) {
        std::vector<TypeParam> row(20000 * bands, 255);
        row[4 * bands] = 7;
        LimitTally tally(bands), expected(bands, {0, 20000});
        expected[0] = {1, 19999};
        imagery::CountLimits<TypeParam>(row.data(), nullptr, 20000, {255, 7, 0}, tally);
        EXPECT_EQ(tally, expected);
    }
}

} // namespace
