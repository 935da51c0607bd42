#pragma once

#include <cmath>

namespace kernels {

/// True when |a - b| <= tolerance; false when a not-a-number takes part.
inline bool NearlyEqual(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance; }

} // namespace kernels
