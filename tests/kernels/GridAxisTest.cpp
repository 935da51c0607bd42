#include "kernels/GridAxis.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using kernels::GridAxis;
using kernels::GridPosition;
using kernels::MakeGridAxis;
using kernels::MultispectralToPan;
using kernels::PanToMultispectral;
using kernels::WholeSteps;

// u = (pan + 0.5) * ratio + offset - 0.5, computed by hand.
TEST(GridAxis, PositionsOfPanPixels) {
    const struct {
        double ratio, offset;
        std::int64_t pan, index;
        double fraction;
    } cases[] = {
        {1.0, 0.0, 7, 7, 0.0},
        {0.25, 0.0, 0, -1, 0.625}, // 0.125 - 0.5
        {0.25, 0.0, 3, 0, 0.375},  // 0.875 - 0.5
        {0.5, 0.75, 0, 0, 0.5},    // Landsat: the multispectral corner lies 1.5 pan pixels to the left
        {0.5, 0.75, 1, 1, 0.0},
        {0.5, -0.25, 0, -1, 0.5},
        {0.5, -100.0, 0, -101, 0.75},
        {1.0 / 3.0, 0.0, 0, -1, 2.0 / 3.0}, // 1/6 - 1/2
        {1.0 / 3.0, 0.0, 1, 0, 0.0},
        {1.0 / 3.0, 0.5 / 3.0, 1, 0, 1.0 / 6.0}, // half a pan pixel on
        {1.0 / 3.0, 1.0 / 3.0, 0, 0, 0.0},
        {8.0 / 15.0, 0.0, 7, 3, 0.5}, // 4 - 0.5
        {2.0, 0.0, 5, 10, 0.5},       // pan coarser than the source
        {0.5, 0.1, 0, -1, 0.85},      // an offset that is not a multiple of a step
        {0.7071, 0.0, 0, -1, 0.85355},
        {1.0 / 3.0, 0.5 / 3.0, 2, 0, 0.5},
        {1.0 / 3.0, 0.5 / 3.0, 3000002, 1000000, 0.5},
        {0.5, 0.75, 2000001, 1000001, 0.0},
        {0.7, 0.15, 0, 0, 0.0},
        {15.0 / 30.0, (438900.0 - 438877.5) / 30.0, 4, 2, 0.5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.ratio << " " << c.offset << " pixel " << c.pan);
        const GridPosition position = PanToMultispectral(MakeGridAxis(c.ratio, c.offset), c.pan);
        EXPECT_EQ(position.index, c.index);
        EXPECT_NEAR(position.fraction, c.fraction, 1e-9);
        if (c.fraction == 0.0) {
            const GridPosition back = MultispectralToPan(MakeGridAxis(c.ratio, c.offset), c.index);
            EXPECT_EQ(back.index, c.pan);
            EXPECT_EQ(back.fraction, 0.0);
        }
        // With halves in both directions the sum of four samples has ties to round.
        if (c.fraction == 0.5) {
            EXPECT_EQ(position.fraction, 0.5);
        }
    }
}

// This makes the output independent of the window: the weight depends on the phase, neither on the pixel
// number nor on the noise of the georeferencing.
TEST(GridAxis, SamePhaseSameFraction) {
    const double offsets[] = {0.0, 0.25, 1.0 / 6.0, -1000.0 / 3.0, 0.123456};
    for (const double denominator : {1.0, 2.0, 3.0, 4.0, 5.0, 7.0, 16.0})
        for (const double offset : offsets) {
            SCOPED_TRACE(testing::Message() << "1/" << denominator << " offset " << offset);
            const GridAxis axis = MakeGridAxis(1.0 / denominator, offset);
            const GridAxis noisy =
                MakeGridAxis(1.0 / denominator * (1.0 + 4e-10), offset == 0.123456 ? offset : offset + 3e-9);
            const auto step = static_cast<std::int64_t>(denominator);
            for (std::int64_t pan = 0; pan < step; ++pan) {
                const GridPosition here = PanToMultispectral(axis, pan);
                for (const std::int64_t periods : {1, 1000, 12345678}) {
                    const GridPosition there = PanToMultispectral(axis, pan + periods * step);
                    EXPECT_EQ(there.index, here.index + periods);
                    EXPECT_EQ(there.fraction, here.fraction);
                    EXPECT_EQ(PanToMultispectral(noisy, pan + periods * step).fraction, here.fraction);
                }
            }
        }
}

TEST(WholeSteps, AreFoundWhereFractionsAreCoarse) {
    const struct {
        std::vector<double> fractions;
        std::uint32_t steps;
    } cases[] = {{{}, 2},
                 {{0.0}, 2},
                 {{0.25, 0.75}, 4},
                 {{0.5, 0.0625}, 16},
                 {{0.03125}, 0},
                 {{0.25, 1.0 / 3.0}, 0},
                 {{0.0, 2.0 / 3.0}, 3},
                 {{0.6, 0.8}, 5},
                 {{6.0 / 7.0}, 7},
                 {{1.0 / 3.0 + 1e-15}, 0},
                 {{1.0 / 9.0}, 0}};
    for (const auto& c : cases) {
        std::vector<GridPosition> positions;
        for (const double fraction : c.fractions)
            positions.push_back({0, fraction});
        EXPECT_EQ(WholeSteps(positions), c.steps);
    }
}

} // namespace
