#pragma once

#include <cmath>
#include <limits>

namespace kernels {

/// The largest sample of a pixel type as a double: 255 or 65535.
template <class T>
inline constexpr double maxSample = std::numeric_limits<T>::max();

/// Clamps to the pixel range, then rounds half up. Not-a-number stores 0; nothing is ever converted out of
/// range.
template <class T>
inline T StoreRounded(double x) {
    if (!(x >= 0.0)) return 0;
    if (x > maxSample<T>) return std::numeric_limits<T>::max();
    return static_cast<T>(x + 0.5);
}

/// Truncates toward zero within the pixel range. Not-a-number stores 0.
template <class T>
inline T StoreTruncated(double x) {
    if (!(x >= 0.0)) return 0;
    if (x > maxSample<T>) return std::numeric_limits<T>::max();
    return static_cast<T>(x);
}

/// StoreTruncated, but infinities store 0 too.
template <class T>
inline T StoreTruncatedFinite(double x) {
    return std::isfinite(x) ? StoreTruncated<T>(x) : T{0};
}

} // namespace kernels
