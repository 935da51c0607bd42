#pragma once

#include "kernels/GridAxis.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// Cubic convolution between pixel centres (Keys 1981, a = -0.5), separated by axis like the bilinear
/// interpolation: a source row is interpolated across once, then four such rows are weighted down.
namespace kernels {

/// The four source pixels around a position, edges replicated, and their weights. A weight may be negative;
/// the four add up to 1 but for rounding.
struct CubicTap {
    std::array<std::uint32_t, 4> at{};
    std::array<double, 4> weights{};
};

/// Weights of the pixels at index - 1 to index + 2, t of the way from index to index + 1:
///
///     ((-0.5 t + 1) t - 0.5) t,  (1.5 t - 2.5) t t + 1,  ((-1.5 t + 2) t + 0.5) t,  (0.5 t - 0.5) t t
[[nodiscard]] CubicTap MakeCubicTap(const GridPosition& position, std::int64_t pixels);

/// Interpolates one source row across: pixels * bands values, samples interleaved by pixel. `at` of the taps
/// are offsets into the row in samples. The four products are added from the left.
template <class T>
void CubicAcross(const T* source, const CubicTap* taps, std::size_t pixels, std::uint32_t bands, double* out);

/// Weights four interpolated rows, adding from the top, and stores the sum rounded half up within the range
/// of T.
template <class T>
void CubicDown(const std::array<const double*, 4>& rows, const std::array<double, 4>& weights,
               std::size_t samples, T* out);

} // namespace kernels
