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
                EXPECT_EQ(kernels::LimitRowsFor<T>(target, pastCache)
                              .whole(samples.data(), count, limits, out.data() + at),
                          isAtEnd);
                EXPECT_EQ(out, expected) << kernels::SimdTargetName(target) << ' ' << count;
            }
}

// The same with gaps, for all numbers of bands and one more than vectors take, with and without a last band.
// `valid` has exactly its size.
TYPED_TEST(LimitedRowTest, EveryTargetLeavesOutTheSamePixels) {
    using T = TypeParam;
    using Limit = bool (*)(const kernels::GappedRow<T>&, const SampleLimits<T>&, T*);
    const T greatest = std::numeric_limits<T>::max();
    std::mt19937 random(6);
    constexpr std::size_t room = 64;
    for (const kernels::SimdTarget target : kernels::SimdTargets())
        for (std::uint32_t bands = 1; bands <= 9; ++bands)
            for (std::size_t pixels = 0; pixels < 140; ++pixels) {
                const SampleLimits<T> limits{greatest, static_cast<T>(pixels % 2 * 9), 8};
                std::vector<T> samples(pixels * bands);
                std::vector<unsigned char> valid(pixels);
                for (unsigned char& has : valid)
                    has = static_cast<unsigned char>(random() % 3);
                for (std::size_t i = 0; i < samples.size(); ++i) // at an end only where data are rare
                    samples[i] = valid[i / bands] == 0 ? T{0} : static_cast<T>(1 + random() % 190);
                if (pixels % 5 == 1) samples[random() % samples.size()] = greatest;
                kernels::GappedRow<T> row{samples.data(), valid.data(), pixels, bands, T{5}};
                const std::size_t at = random() % room;
                const auto check = [&](Limit definition, Limit tried) {
                    std::vector<T> expected((bands + 1) * pixels + 2 * room, T{77}), out = expected;
                    const bool isAtEnd = definition(row, limits, expected.data() + at);
                    EXPECT_EQ(tried(row, limits, out.data() + at), isAtEnd);
                    EXPECT_EQ(out, expected)
                        << kernels::SimdTargetName(target) << ' ' << bands << ' ' << pixels;
                };
                const kernels::LimitRows<T> rows = kernels::LimitRowsFor<T>(target, bands % 2 == pixels % 2);
                check(&kernels::LimitGappedScalar<T>, rows.gapped);
                check(&kernels::LimitSpreadScalar<T>, rows.spread);
                row.valid = nullptr;
                check(&kernels::LimitSpreadScalar<T>, rows.spread);
            }
}

} // namespace
