#pragma once

#include <cmath>
#include <limits>

namespace kernels {

/// The largest sample of a pixel type as a double: 255 or 65535.
template <class T>
inline constexpr double maxSample = std::numeric_limits<T>::max();

/// Limits to the pixel range, then rounds half up. NaN becomes 0. No number out of range is ever converted.
template <class T>
inline T StoreRounded(double x) {
    if (!(x >= 0.0)) return 0;
    if (x > maxSample<T>) return std::numeric_limits<T>::max();
    return static_cast<T>(x + 0.5);
}

/// Truncates toward zero within the pixel range. NaN becomes 0.
template <class T>
inline T StoreTruncated(double x) {
    if (!(x >= 0.0)) return 0;
    if (x > maxSample<T>) return std::numeric_limits<T>::max();
    return static_cast<T>(x);
}

/// StoreTruncated, but infinities also become 0.
template <class T>
inline T StoreTruncatedFinite(double x) {
    return std::isfinite(x) ? StoreTruncated<T>(x) : T{0};
}

} // namespace kernels
