#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>

/// Interpolation at any positions of a source, pixel by pixel, where rows of output do not follow rows of the
/// source. Positions count source pixels between their centres; 0 is the centre of the first.
namespace kernels {

/// The samples at hand of a source, interleaved by pixel.
template <class T>
struct MappedSource {
    const T* samples = nullptr;    ///< of the first pixel at hand
    std::size_t rowStride = 0;     ///< bytes from one row to the next
    std::uint32_t firstColumn = 0; ///< of the pixels at hand
    std::uint32_t firstRow = 0;
    std::uint32_t columns = 0; ///< of the whole source
    std::uint32_t rows = 0;
    std::uint32_t bands = 0;
};

/// Interpolates a pixel at each position: writes exactly pixels * bands samples. Positions are numbers; the
/// source pixels around them, edges replicated, are at hand.
template <class T>
using MappedRow = void (*)(const MappedSource<T>& source, const double* x, const double* y,
                           std::size_t pixels, T* out);

/// Bilinear as BilinearSample, cubic as CubicAcross of four rows and CubicDown.
template <class T>
struct MappedRows {
    MappedRow<T> bilinear = nullptr;
    MappedRow<T> cubic = nullptr;
};

/// The versions for a vector target that can run here; the scalar ones are the definition.
template <class T>
[[nodiscard]] MappedRows<T> MappedRowsFor(SimdTarget target);

template <class T>
void MappedBilinearScalar(const MappedSource<T>& source, const double* x, const double* y, std::size_t pixels,
                          T* out);
template <class T>
void MappedCubicScalar(const MappedSource<T>& source, const double* x, const double* y, std::size_t pixels,
                       T* out);

/// In float, bilinear 8-bit samples err by less than this. u is 2^-24, S the largest sample. Across there are
/// three roundings of at most S u (of the fraction, the product and the sum), down four (of the difference,
/// too). Together that is 7 S u, and the definition in double errs far less than what is left. Cubic ones err
/// by less than cubicError: it holds for across before down as well.
inline constexpr double bilinearError = 8.0 * 255 / (1 << 24);

/// Positions on a straight line: a * (1 - t) + b * t for t = (start + i * step) / length, i = 0 to count - 1.
struct MappedLine {
    double from = 0.0; ///< a
    double to = 0.0;   ///< b
    double start = 0.0;
    double step = 1.0;
    double length = 1.0;
};

/// What positions lie between; not finite where one of them is not a number.
struct Extent {
    double least = 0.0;
    double most = 0.0;
};

/// What is done with positions.
struct PositionKernels {
    void (*line)(const MappedLine& line, std::size_t count, double* positions) = nullptr;
    Extent (*extent)(const double* positions, std::size_t count) = nullptr; ///< of one or more
};

/// The versions for a vector target that can run here.
[[nodiscard]] PositionKernels PositionKernelsFor(SimdTarget target);

void FillLineScalar(const MappedLine& line, std::size_t count, double* positions);
[[nodiscard]] Extent FindExtentScalar(const double* positions, std::size_t count);

} // namespace kernels
