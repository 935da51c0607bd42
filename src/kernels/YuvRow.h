#pragma once

#include "kernels/ConvertRow.h"

namespace kernels {

/// RGB to YUV with the integer coefficients of ITU-R BT.601, in 32-bit integers; >> rounds down:
///
///     Y = ((66 R + 129 G + 25 B + 128) >> 8) + 16
///     U = ((-38 R - 74 G + 112 B + 128) >> 8) + 128
///     V = ((112 R - 94 G - 18 B + 128) >> 8) + 128
///
/// limited to the pixel range. 8- and 16-bit samples use the same coefficients and offsets.
template <class T>
void RgbToYuvRow(const T* in, T* out, std::size_t pixels);

/// YUV to RGB, with C = Y - 16, D = U - 128, E = V - 128, otherwise like RgbToYuvRow:
///
///     R = (298 C + 409 E + 128) >> 8
///     G = (298 C - 100 D - 208 E + 128) >> 8
///     B = (298 C + 516 D + 128) >> 8
template <class T>
void YuvToRgbRow(const T* in, T* out, std::size_t pixels);

} // namespace kernels
