#pragma once

#include <cmath>

namespace kernels {

/// True when |a - b| <= tolerance; false when any of them is NaN.
inline bool NearlyEqual(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance; }

} // namespace kernels
