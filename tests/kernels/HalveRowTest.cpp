#include "kernels/HalveRow.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using namespace kernels;

namespace {

/// Rows of samples whose weighted sums exceed both ends of the range, and rows of nearly equal samples, whose
/// sums lie at a half.
template <class T>
void EveryTargetGivesTheSame(unsigned lowest) {
    std::mt19937 random(7);
    for (const std::size_t bands : {1u, 2u, 3u, 4u, 5u})
        for (const std::size_t pixels : {3u, 5u, 67u}) {
            std::vector<std::vector<T>> rows(8, std::vector<T>(2 * pixels * bands));
            std::array<const T*, 8> around{};
            for (std::size_t row = 0; row < 8; ++row) {
                for (T& sample : rows[row])
                    sample =
                        static_cast<T>(lowest + random() % (std::numeric_limits<T>::max() - lowest + 1u));
                around[row] = rows[row].data();
            }
            std::vector<HalvingSum<T>> room(4 * pixels * bands);
            std::vector<T> expected(pixels * bands, T{77});
            HalveRowScalar<T>(around, pixels, bands, room.data(), expected.data());
            for (const SimdTarget target : SimdTargets()) {
                std::vector<T> found(pixels * bands, T{77});
                HalveRowFor<T>(target)(around, pixels, bands, room.data(), found.data());
                EXPECT_EQ(found, expected) << SimdTargetName(target) << " " << bands << " " << pixels;
            }
        }
}

} // namespace

TEST(HalveRow, EveryTargetGivesTheSame) {
    EveryTargetGivesTheSame<unsigned char>(0);
    EveryTargetGivesTheSame<unsigned char>(254);
    EveryTargetGivesTheSame<unsigned short>(0);
    EveryTargetGivesTheSame<unsigned short>(65534);
}
