#include "kernels/LimitedRow.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

namespace {

using kernels::SampleLimits;

template <class T>
class LimitedRowTest : public testing::Test {};
using SampleTypes = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(LimitedRowTest, SampleTypes, );

// Rows that begin at any position of an aligned vector. A single sample at a limit is put at every position.
TYPED_TEST(LimitedRowTest, EveryTargetWritesTheScalarSamples) {
    using T = TypeParam;
    const T greatest = std::numeric_limits<T>::max();
    const SampleLimits<T> all[] = {{greatest, 0, 0}, {200, 0, 1}, {greatest, 9, 8}, {200, 200, 199}};
    std::mt19937 random(5);
    constexpr std::size_t most = 150, room = 64;
    for (const kernels::SimdTarget target : kernels::SimdTargets())
        for (const bool pastCache : {false, true})
            for (std::size_t count = 0; count < most; ++count) {
                const SampleLimits<T>& limits = all[count % 4];
                std::vector<T> samples(count), expected(most + 2 * room, T{77}), out = expected;
                for (T& sample : samples)
                    sample = static_cast<T>(1 + random() % 190);
                const std::size_t at = random() % room;
                if (count % 3 != 0) samples[random() % count] = count % 2 != 0 ? T{0} : greatest;
                const bool isAtEnd =
                    kernels::LimitRowScalar(samples.data(), count, limits, expected.data() + at);
                EXPECT_EQ(kernels::LimitRowFor<T>(target, pastCache)(samples.data(), count, limits,
                                                                     out.data() + at),
                          isAtEnd);
                EXPECT_EQ(out, expected) << kernels::SimdTargetName(target) << ' ' << count;
            }
}

} // namespace
