#pragma once

#include "kernels/ConvertRow.h"

#include <array>

namespace kernels {

/// Hue, saturation and lightness as fractions of 1. Hue is a fraction of a full turn: 0 and 1 both mean red.
struct Hsi {
    double hue;
    double saturation; ///< 0 for a grey pixel, whose hue is then 0 too
    double lightness;
};

/// Hue, saturation and lightness (HSL) of red, green and blue, given as fractions of the largest sample.
[[nodiscard]] Hsi ToHsi(double r, double g, double b);

/// Red, green and blue as fractions of the largest sample. A hue outside [0, 1) counts as red to yellow.
[[nodiscard]] std::array<double, 3> ToRgb(const Hsi& hsi);

/// ToHsi, with each fraction stored rounded in the pixel type, so that every sample is 0 or 1. The lightness
/// of a grey pixel is truncated instead.
template <class T>
void RgbToHsiRow(const T* in, T* out, std::size_t pixels);

/// ToRgb, with hue, saturation and lightness taken unscaled from the samples; stored rounded.
template <class T>
void HsiToRgbRow(const T* in, T* out, std::size_t pixels);

} // namespace kernels
