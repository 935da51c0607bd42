#include "quality/GaussianAxis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using quality::GaussianAxis;

TEST(GaussianAxis, TakesTheNearestPixelsForABandThatHardlyBlurs) {
    const double transfers[] = {0.3, 0.99999};
    const GaussianAxis axis(GaussianAxis::Regular(9, 4.0, 0.0, 36), 4.0, transfers);
    const GaussianAxis::Taps& taps = axis.GetTaps()[4]; // its centre is 18
    EXPECT_EQ(axis.GetWeights(taps, 1)[17 - taps.first], 0.5);
    EXPECT_EQ(axis.GetWeights(taps, 1)[18 - taps.first], 0.5);
}

/// The response to a cosine with a period of two coarse pixels and its crest at the centre is the given
/// transfer; the response to a ramp is the position of the centre.
TEST(GaussianAxis, HasTheTransferAskedForAtItsCentre) {
    for (const double step : {2.0, 3.7, 4.0}) {
        const double transfers[] = {0.3, 0.15, 0.5};
        const auto targets = GaussianAxis::Regular(40, step, 0.75, 160);
        const GaussianAxis axis(targets, step, transfers);
        std::size_t complete = 0;
        for (std::size_t i = 0; i < targets.size(); ++i) {
            const GaussianAxis::Taps& taps = axis.GetTaps()[i];
            if (taps.count == 0) continue;
            ++complete;
            for (std::size_t band = 0; band < 3; ++band) {
                double cosine = 0.0, ramp = 0.0;
                for (std::size_t k = 0; k < taps.count; ++k) {
                    const double place = static_cast<double>(taps.first + k) + 0.5;
                    const double weight = axis.GetWeights(taps, band)[k];
                    cosine += weight * std::cos(std::numbers::pi * (place - targets[i].centre) / step);
                    ramp += weight * place;
                }
                EXPECT_NEAR(cosine, transfers[band], 0.01) << step << ' ' << band;
                EXPECT_NEAR(ramp, targets[i].centre, 0.02) << step;
            }
            EXPECT_LE(taps.first + taps.count, 160u);
        }
        // Pixels are left out if 3.5 standard deviations of the widest Gaussian reach beyond either edge.
        const double reach = 3.5 * step * std::sqrt(-2.0 * std::log(0.15)) / std::numbers::pi;
        std::size_t expected = 0;
        for (const auto& target : targets)
            if (std::ceil(target.centre - reach - 0.5) >= 0.0 &&
                std::floor(target.centre + reach - 0.5) < 160.0)
                ++expected;
        EXPECT_EQ(complete, expected);
        EXPECT_GT(complete, 30u * (step < 4.0));
    }
}
