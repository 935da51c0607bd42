#pragma once

#include "kernels/GridAxis.h"

#include <cstddef>
#include <cstdint>

/// Bilinear interpolation between pixel centres, separated by axis: a source row is interpolated across once,
/// then two such rows are blended down for every output row between them. All samples are interleaved by
/// pixel.
namespace kernels {

/// The two source samples that an output pixel lies between, as offsets into a source row in samples (not
/// pixels), and how far it lies from the first to the second.
struct BilinearTap {
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    double fraction = 0.0;
};

/// The two pixels around a position, edges replicated: 0 <= first <= second < pixels.
[[nodiscard]] BilinearTap ClampTap(const GridPosition& position, std::int64_t pixels);

/// The definition of a sample from its four neighbours: across first, then down, one rounding an operation,
///
///     h0 = a * (1 - fx) + b * fx    (upper row)      h1 = c * (1 - fx) + d * fx    (lower row)
///     floor(h0 * (1 - fy) + h1 * fy + 0.5)
template <class T>
[[nodiscard]] T BilinearSample(T a, T b, T c, T d, double fx, double fy);

/// Interpolates one source row across: writes exactly pixels * bands values, of 0 to the largest sample.
/// Reads the samples that the taps name.
template <class T>
using AcrossRow = void (*)(const T* source, const BilinearTap* taps, std::size_t pixels, std::uint32_t bands,
                           double* out);

/// The version for a band count. Asked once a window, not once a row.
template <class T>
[[nodiscard]] AcrossRow<T> ChooseAcrossRow(std::uint32_t bands);

/// Blends two interpolated rows of `samples` values and stores them rounded half up.
template <class T>
void DownRow(const double* upper, const double* lower, double fraction, std::size_t samples, T* out);

} // namespace kernels
