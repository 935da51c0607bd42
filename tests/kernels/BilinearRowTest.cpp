#include "kernels/BilinearRow.h"

#include "support/Rows.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace kernels;

// Computed by hand from the definition.
TEST(BilinearSample, RoundsHalfUp) {
    EXPECT_EQ(BilinearSample<unsigned char>(10, 20, 30, 40, 0.0, 0.0), 10);
    EXPECT_EQ(BilinearSample<unsigned char>(10, 20, 30, 40, 0.5, 0.5), 25);
    EXPECT_EQ(BilinearSample<unsigned char>(0, 1, 0, 1, 0.5, 0.25), 1);   // 0.5 goes up
    EXPECT_EQ(BilinearSample<unsigned char>(0, 1, 0, 1, 0.375, 0.25), 0); // 0.375 goes down
    EXPECT_EQ(BilinearSample<unsigned char>(0, 0, 0, 2, 0.5, 0.5), 1);    // 0.5 goes up
    EXPECT_EQ(BilinearSample<unsigned short>(65535, 65535, 65535, 65535, 1.0 / 3.0, 0.7), 65535);
    EXPECT_EQ(BilinearSample<unsigned char>(255, 255, 255, 255, 1.0 / 3.0, 1.0 / 7.0), 255);
}

TEST(BilinearTap, ReplicatesEdges) {
    const struct {
        GridPosition position;
        std::uint32_t first, second;
    } cases[] = {{{-1, 0.6}, 0, 0}, {{-7, 0.1}, 0, 0}, {{0, 0.2}, 0, 1},
                 {{3, 0.0}, 3, 4},  {{4, 0.3}, 4, 4},  {{99, 0.3}, 4, 4}};
    for (const auto& c : cases) {
        const BilinearTap tap = ClampTap(c.position, 5);
        EXPECT_EQ(tap.first, c.first) << c.position.index;
        EXPECT_EQ(tap.second, c.second) << c.position.index;
        EXPECT_EQ(tap.fraction, c.position.fraction);
    }
}

TEST(WholePlan, RefusesRowsOfTooManySamples) {
    constexpr std::int64_t far = std::int64_t{1} << 29;
    for (const std::int64_t last : {far - 3, far - 2}) { // and two pixels to blend
        const std::vector<GridPosition> columns = {{0, 0.0}, {last, 0.0}};
        EXPECT_EQ(MakeWholePlan(columns, 8, 4, 2).has_value(), last == far - 3);
    }
}

/// Both passes over rows of exactly their size, so that a sanitizer detects any access past them.
template <class T>
void Separated(const T* upper, const T* lower, const std::vector<BilinearTap>& taps, std::uint32_t bands,
               double fy, SimdTarget target, T* out) {
    const std::size_t samples = taps.size() * bands;
    const auto upperAcross = std::make_unique<double[]>(samples);
    const auto lowerAcross = std::make_unique<double[]>(samples);
    ChooseAcrossRow<T>(bands)(upper, taps.data(), taps.size(), bands, upperAcross.get());
    ChooseAcrossRow<T>(bands)(lower, taps.data(), taps.size(), bands, lowerAcross.get());
    DownRowFor<T>(target)(upperAcross.get(), lowerAcross.get(), fy, samples, out);
}

/// The same in whole numbers. False if there is no plan for the columns.
template <class T>
bool SeparatedWhole(const T* upper, const T* lower, const std::vector<GridPosition>& columns,
                    std::uint32_t bands, double fy, std::uint32_t acrossSteps, std::uint32_t downSteps,
                    std::size_t sourceColumns, SimdTarget target, T* out) {
    const AcrossWhole<T> kernel = AcrossWholeFor<T>(target);
    const auto plan = MakeWholePlan(columns, bands, kernel.lanes, acrossSteps);
    if (!plan) return false;
    PlannedRow<float> planned(*plan, static_cast<std::int64_t>(sourceColumns));
    const std::size_t samples = columns.size() * bands;
    const auto across = [&](const T* row) {
        auto values = std::make_unique<WholeOf<T>[]>(samples + kernel.lanes);
        const T* from = row + planned.GetFirstPixel() * bands;
        kernel.across(*plan, planned.Make([&](float* to) { std::copy_n(from, planned.GetSamples(), to); }),
                      values.get());
        return values;
    };
    DownRowWholeFor<T>(target)(across(upper).get(), across(lower).get(), StepsOf(fy, downSteps), downSteps,
                               acrossSteps, samples, out);
    return true;
}

template <class T>
class BilinearRows : public testing::Test {};
using Depths = testing::Types<unsigned char, unsigned short>;
TYPED_TEST_SUITE(BilinearRows, Depths);

// With a swapped tap, a wrong band or a row blended twice, the samples would differ from the definition.
TYPED_TEST(BilinearRows, SeparatedEqualsTheDefinition) {
    std::mt19937 random(20);
    const GridAxis axes[] = {MakeGridAxis(0.5, 0.25), MakeGridAxis(1.0 / 3.0, 0.1),
                             MakeGridAxis(0.25, 0.0), MakeGridAxis(1.0 / 7, 0.0),
                             MakeGridAxis(0.6, -1.0), MakeGridAxis(0.3141592, -2.0)};
    std::uint64_t compared = 0, whole = 0;
    for (std::uint32_t bands = 1; bands <= 9; ++bands)
        for (const GridAxis& axis : axes)
            for (std::uint32_t sourceColumns : {1u, 2u, 5u, 16u}) {
                const std::size_t columns = sourceColumns * 4 + 3;
                std::vector<BilinearTap> taps;
                std::vector<GridPosition> positions;
                for (std::size_t c = 0; c < columns; ++c) {
                    positions.push_back(PanToMultispectral(axis, static_cast<std::int64_t>(c)));
                    taps.push_back(ClampTap(positions.back(), sourceColumns));
                    taps.back().first *= bands;
                    taps.back().second *= bands;
                }
                const auto upper = support::RandomRow<TypeParam>(std::size_t{sourceColumns} * bands, random);
                const auto lower = support::RandomRow<TypeParam>(std::size_t{sourceColumns} * bands, random);
                const auto out = std::make_unique<TypeParam[]>(columns * bands);
                for (const double fy : {0.0, 0.5, 1.0 / 3.0, 0.875, 6.0 / 7.0, 0.4}) {
                    const auto expect = [&](const char* path, SimdTarget target) {
                        for (std::size_t c = 0; c < columns; ++c)
                            for (std::uint32_t b = 0; b < bands; ++b, ++compared)
                                ASSERT_EQ(out[c * bands + b],
                                          BilinearSample(upper[taps[c].first + b], upper[taps[c].second + b],
                                                         lower[taps[c].first + b], lower[taps[c].second + b],
                                                         taps[c].fraction, fy))
                                    << path << " " << SimdTargetName(target) << " bands " << bands
                                    << " column " << c << " band " << b;
                    };
                    for (const SimdTarget target : SimdTargets()) {
                        Separated(upper.get(), lower.get(), taps, bands, fy, target, out.get());
                        expect("double", target);
                        const std::uint32_t across = WholeSteps(positions);
                        const GridPosition down{0, fy};
                        const std::uint32_t steps = WholeSteps({&down, 1});
                        if (!AreWhole(across, steps) ||
                            !SeparatedWhole(upper.get(), lower.get(), positions, bands, fy, across, steps,
                                            sourceColumns, target, out.get()))
                            continue;
                        expect("whole", target);
                        ++whole;
                    }
                }
            }
    EXPECT_GT(whole, 100u);
    EXPECT_GT(compared, 10000u);
}

} // namespace
