#include "quality/SpectralAngle.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

// Small and large angles are found in different ways; the bound between them lies at 14.36 degrees.
TEST(SpectralAngle, IsTheAngleBetweenTwoSpectra) {
    const unsigned char valid = 255;
    for (const double degrees : {0.0, 1.0, 8.0, 14.0, 14.35, 14.37, 60.0, 120.0, 180.0}) {
        const double angle = degrees / 180.0 * std::numbers::pi;
        const double image[] = {1.0, 0.0}, reference[] = {std::cos(angle), std::sin(angle)};
        quality::SpectralAngle found(2);
        found.AddRow(image, reference, &valid, 1);
        EXPECT_NEAR(found.Find(), degrees, 1e-12);
    }
}

} // namespace
