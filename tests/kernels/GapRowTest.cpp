#include "kernels/GapRow.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using kernels::GapCount;

// Rows of exactly their size. Gaps are rare, common, or runs; a run may cross words or end the row.
TEST(GapRow, EveryTargetFindsTheScalarBits) {
    std::mt19937 random(7);
    for (const kernels::SimdTarget target : kernels::SimdTargets())
        for (std::size_t pixels = 0; pixels < 300; ++pixels) {
            std::vector<unsigned char> valid(pixels);
            unsigned char has = 1;
            for (unsigned char& pixel : valid)
                pixel = has =
                    static_cast<unsigned char>(random() % (pixels % 50 + 1) == 0 ? random() % 3 : has);
            std::vector<std::uint32_t> expected(pixels / kernels::gapBits + 2, 99), words = expected;
            const GapCount count = kernels::GapRowScalar(valid.data(), pixels, expected.data());
            const GapCount found = kernels::GapRowFor(target)(valid.data(), pixels, words.data());
            EXPECT_EQ(words, expected) << kernels::SimdTargetName(target) << ' ' << pixels;
            EXPECT_EQ(found.pixels, count.pixels);
            EXPECT_EQ(found.runs, count.runs);
        }
}

} // namespace
