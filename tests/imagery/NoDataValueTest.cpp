#include "imagery/NoDataValue.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <random>
#include <vector>

namespace {

template <class T>
class NoDataValue : public testing::Test {};
using Samples = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(NoDataValue, Samples);

// Neighbours of the values and of 0 show a borrow between the bands of a word.
TYPED_TEST(NoDataValue, ClearsAPixelThatHasTheValueOfABand) {
    using T = TypeParam;
    constexpr T largest = std::numeric_limits<T>::max(), middle = largest / 2 + 1;
    const std::vector<T> often = {0, 1, 2, middle - 1, middle, middle + 1, largest - 1, largest};
    std::minstd_rand random;
    const auto any = [&] { return often[random() % often.size()]; };
    constexpr std::size_t pixels = 70;
    for (const std::size_t bands : {1u, 2u, 3u, 4u, 5u})
        for (int run = 0; run < 100; ++run) {
            std::vector<std::optional<T>> values(bands);
            for (auto& value : values)
                if (random() % 4 != 0) value = any();
            std::vector<T> samples(pixels * bands);
            for (T& sample : samples)
                sample = any();
            std::vector<unsigned char> valid(pixels), expected(pixels);
            const bool isMasked = random() % 2 == 0;
            for (std::size_t i = 0; i < pixels; ++i) {
                valid[i] = random() % 4 == 0 ? 0 : 0xFF;
                expected[i] = isMasked ? valid[i] : 0xFF;
                for (std::size_t band = 0; band < bands; ++band)
                    if (samples[i * bands + band] == values[band]) expected[i] = 0;
            }
            const auto find = isMasked ? &imagery::ClearValues<T> : &imagery::FindValues<T>;
            find(samples.data(), values, pixels, valid.data());
            ASSERT_EQ(valid, expected) << bands << " bands";
        }
}

} // namespace
