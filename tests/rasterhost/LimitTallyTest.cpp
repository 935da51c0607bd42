#include "rasterhost/LimitTally.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

template <class T>
class Limits : public testing::Test {};
using Depths = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(Limits, Depths);

// Rows longer and shorter than the stretches that are looked at together, with limits here and there.
TYPED_TEST(Limits, AreCountedBandByBand) {
    constexpr TypeParam largest = std::numeric_limits<TypeParam>::max();
    std::mt19937 random(3);
    for (const std::size_t bands : {1u, 3u, 5u})
        for (const std::size_t pixels : {0u, 1u, 63u, 64u, 65u, 1000u}) {
            std::vector<TypeParam> row(pixels * bands);
            rasterhost::LimitTally expected(bands, {7, 9}); // what was counted before stays
            rasterhost::LimitTally tally = expected;
            for (std::size_t i = 0; i < row.size(); ++i) {
                const TypeParam choices[] = {0,  largest, 1,  static_cast<TypeParam>(largest - 1),
                                             77, 77,      77, 77};
                row[i] = random() % 50 == 0 ? choices[random() % 2] : choices[2 + random() % 6];
                expected[i % bands].first += row[i] == 0;
                expected[i % bands].second += row[i] == largest;
            }
            rasterhost::CountLimits(row.data(), pixels, tally);
            EXPECT_EQ(tally, expected) << bands << " bands, " << pixels << " pixels";
        }
}

} // namespace
