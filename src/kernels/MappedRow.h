#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// Interpolation at arbitrary positions of a source, pixel by pixel, for output rows that do not follow
/// source rows. Positions count source pixels between centres: 0 is the centre of the first.
namespace kernels {

/// The available samples of a source, interleaved by pixel.
template <class T>
struct MappedSource {
    const T* samples = nullptr;    ///< of the first available pixel
    std::size_t rowStride = 0;     ///< bytes from one row to the next, above 0
    std::size_t bytes = 0;         ///< from the first available sample to the end of the last, above 0
    std::uint32_t firstColumn = 0; ///< of the available pixels
    std::uint32_t firstRow = 0;
    std::uint32_t columns = 0; ///< of the whole source
    std::uint32_t rows = 0;
    std::uint32_t bands = 0;
};

/// Converts a position to pixels that are so many times as large.
[[nodiscard]] inline double ShrinkPosition(double position, double times) {
    return times == 1.0 ? position : (position + 0.5) / times - 0.5;
}

/// Pixels whose positions lie on a straight line: a * (1 - t) + b * t for t = (start + i * step) / length and
/// i = 0, 1, ...
struct MappedLine {
    double fromX = 0.0, toX = 0.0; ///< a and b of x
    double fromY = 0.0, toY = 0.0;
    /// Whole numbers, so that a part of a line has the same positions; `step` and `length` are above 0.
    double start = 0.0, step = 1.0, length = 1.0;
    std::size_t pixels = 0;
    /// Positions are counted in source pixels that are so many times as large, at least 1.
    double shrink = 1.0;

    [[nodiscard]] double Shrink(double position) const { return ShrinkPosition(position, shrink); }
};

/// Computes the positions of a line.
using FillLine = void (*)(const MappedLine& line, double* x, double* y);

/// The version for a vector target that can run here. The scalar one is the definition.
[[nodiscard]] FillLine FillLineFor(SimdTarget target);

void FillLineScalar(const MappedLine& line, double* x, double* y);

/// Pixels of an output row, on one line after another.
struct MappedPath {
    const MappedLine* line = nullptr;
    std::size_t done = 0; ///< pixels of this line that come before

    /// The next pixels that lie on one line, at most so many. The path goes on behind them.
    MappedLine Next(std::size_t most) {
        if (done == line->pixels) *this = {line + 1, 0};
        MappedLine part = *line;
        part.start += static_cast<double>(done) * line->step;
        part.pixels = std::min(most, line->pixels - done);
        done += part.pixels;
        return part;
    }
    /// Computes the next positions.
    void Fill(FillLine fill, std::size_t pixels, double* x, double* y) {
        for (std::size_t p = 0; p < pixels;) {
            const MappedLine part = Next(pixels - p);
            fill(part, x + p, y + p);
            p += part.pixels;
        }
    }
};

/// Interpolates the next pixels of a path: writes exactly pixels * bands samples. Positions are not NaN, and
/// the source pixels around them, edges replicated, are available.
template <class T>
using MappedRow = void (*)(const MappedSource<T>& source, MappedPath path, std::size_t pixels, T* out);

/// The bilinear one gives BilinearSample; the cubic one gives CubicAcross of four rows, then CubicDown.
template <class T>
struct MappedRows {
    MappedRow<T> bilinear = nullptr;
    MappedRow<T> cubic = nullptr;
};

/// The versions for a vector target that can run here; for the scalar target those of the functions below.
template <class T>
[[nodiscard]] MappedRows<T> MappedRowsFor(SimdTarget target);
template <class T>
[[nodiscard]] MappedRows<T> MappedRowsScalar();

/// The definitions, for one pixel per position.
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

} // namespace kernels
