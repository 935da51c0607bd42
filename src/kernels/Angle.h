#pragma once

namespace kernels {

/// Most angles between spectra are small. They take the series of asin, in acos(c) = 2 asin(sqrt((1 - c) /
/// 2)), whose terms have these factors, the highest power first. Up to 14 degrees the terms left out are less
/// than 2^-54 of the angle.
inline constexpr double asinTerms[] = {143.0 / 10240.0, 231.0 / 13312.0, 63.0 / 2816.0, 35.0 / 1152.0,
                                       5.0 / 112.0,     3.0 / 40.0,      1.0 / 6.0,     1.0};
/// The largest (1 - c) / 2 for the series.
inline constexpr double mostSquare = 1.0 / 64.0;

} // namespace kernels
