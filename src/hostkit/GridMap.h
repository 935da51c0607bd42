#pragma once

#include <cmath>

namespace hostkit {

/// Where the pixel edges of one image lie along an axis of another, in pixels of the other: edge e lies at
/// origin + e * step.
struct GridMap {
    double origin = 0.0; ///< of the first edge
    double step = 1.0;   ///< from one edge to the next

    /// The position of an edge. A position within 1e-6 of a whole number is rounded to it: georeferencing has
    /// noise of that size.
    [[nodiscard]] double At(double edge) const {
        constexpr double noise = 1e-6;
        const double position = origin + edge * step;
        const double whole = std::floor(position + 0.5);
        return std::fabs(position - whole) <= noise ? whole : position;
    }
};

} // namespace hostkit
