#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>

/// Interpolation at arbitrary positions of a source, pixel by pixel, for output rows that do not follow
/// source rows. Positions count source pixels between centres: 0 is the centre of the first.
namespace kernels {

/// The available samples of a source, interleaved by pixel.
template <class T>
struct MappedSource {
    const T* samples = nullptr;    ///< of the first available pixel
    std::size_t rowStride = 0;     ///< bytes from one row to the next
    std::size_t bytes = 0;         ///< from the first available sample to the end of the last
    std::uint32_t firstColumn = 0; ///< of the available pixels
    std::uint32_t firstRow = 0;
    std::uint32_t columns = 0; ///< of the whole source
    std::uint32_t rows = 0;
    std::uint32_t bands = 0;
};

/// Interpolates one pixel per position: writes exactly pixels * bands samples. Positions are not NaN, and the
/// source pixels around them, edges replicated, are available.
template <class T>
using MappedRow = void (*)(const MappedSource<T>& source, const double* x, const double* y,
                           std::size_t pixels, T* out);

/// The bilinear one gives BilinearSample; the cubic one gives CubicAcross of four rows, then CubicDown.
template <class T>
struct MappedRows {
    MappedRow<T> bilinear = nullptr;
    MappedRow<T> cubic = nullptr;
};

/// The versions for a vector target that can run here. The scalar ones are the definition.
template <class T>
[[nodiscard]] MappedRows<T> MappedRowsFor(SimdTarget target);

template <class T>
void MappedBilinearScalar(const MappedSource<T>& source, const double* x, const double* y, std::size_t pixels,
                          T* out);
template <class T>
void MappedCubicScalar(const MappedSource<T>& source, const double* x, const double* y, std::size_t pixels,
                       T* out);

/// The error of bilinear 8-bit samples in float is below this. With u = 2^-24 and S the largest sample, there
/// are three roundings of at most S u across (of the fraction, the product and the sum) and four down (the
/// difference as well). Together that is 7 S u; the definition in double errs far less than the remaining S
/// u. Cubic samples err by less than cubicError, which also holds for across before down.
inline constexpr double bilinearError = 8.0 * 255 / (1 << 24);

/// Positions on a straight line: a * (1 - t) + b * t for t = (start + i * step) / length, i = 0 to count - 1.
struct MappedLine {
    double fromX = 0.0, toX = 0.0; ///< a and b of x
    double fromY = 0.0, toY = 0.0;
    double start = 0.0;
    double step = 1.0;
    double length = 1.0;
};

/// Computes `count` positions.
using FillLine = void (*)(const MappedLine& line, std::size_t count, double* x, double* y);

/// The version for a vector target that can run here. The scalar one is the definition.
[[nodiscard]] FillLine FillLineFor(SimdTarget target);

void FillLineScalar(const MappedLine& line, std::size_t count, double* x, double* y);

} // namespace kernels
