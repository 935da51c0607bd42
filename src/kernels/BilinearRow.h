#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

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

/// The definition of a sample from its four neighbours: across first, then down, one rounding per operation,
///
///     h0 = a * (1 - fx) + b * fx    (upper row)      h1 = c * (1 - fx) + d * fx    (lower row)
///     floor(h0 * (1 - fy) + h1 * fy + 0.5)
template <class T>
[[nodiscard]] T BilinearSample(T a, T b, T c, T d, double fx, double fy);

/// Whole numbers wide enough for 256 times the largest sample.
template <class T>
using WholeOf = std::conditional_t<sizeof(T) == 1, std::uint16_t, std::uint32_t>;

/// The fewest steps of 1, 2, 4, 8 or 16 in which all fractions are whole numbers; 0 when there are none. With
/// such steps on both axes every product and sum of the definition is exact, and whole numbers give the same
/// samples.
[[nodiscard]] std::uint32_t WholeSteps(std::span<const BilinearTap> taps);

/// Interpolates one source row across: writes exactly pixels * bands values of 0 to the largest sample. Reads
/// the samples that the taps name.
template <class T>
using AcrossRow = void (*)(const T* source, const BilinearTap* taps, std::size_t pixels, std::uint32_t bands,
                           double* out);

/// The version for a band count. Asked once a window, not once a row.
template <class T>
[[nodiscard]] AcrossRow<T> ChooseAcrossRow(std::uint32_t bands);

/// The same in whole numbers: a word holds as many samples side by side, each with room for 16 times the
/// largest, and one multiplication serves them all.
using Word = std::uint64_t;

/// Words that hold a pixel of so many bands.
template <class T>
[[nodiscard]] constexpr std::size_t PixelWords(std::uint32_t bands) {
    return (bands * sizeof(WholeOf<T>) + sizeof(Word) - 1) / sizeof(Word);
}

/// A tap as offsets in words, and the whole number of steps from the first to the second.
struct WholeTap {
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    std::uint32_t part = 0;
};

/// Takes the samples of a source row apart: writes pixels * PixelWords words.
template <class T>
void SpreadRow(const T* source, std::size_t pixels, std::uint32_t bands, Word* out);

/// Interpolates a spread row across: writes pixels * bands values of `steps` times the samples, and up to
/// sizeof(Word) bytes of no meaning behind them.
template <class T>
void AcrossWhole(const Word* source, const WholeTap* taps, std::size_t pixels, std::uint32_t bands,
                 std::uint32_t steps, WholeOf<T>* out);

/// Blends two interpolated rows of `samples` values and stores them rounded half up.
template <class T>
using DownRow = void (*)(const double* upper, const double* lower, double fraction, std::size_t samples,
                         T* out);

/// The same of rows in whole numbers: `part` of `steps` on the way down, the values `acrossSteps` times too
/// large. Both steps are those of WholeSteps.
template <class T>
using DownRowWhole = void (*)(const WholeOf<T>* upper, const WholeOf<T>* lower, std::uint32_t part,
                              std::uint32_t steps, std::uint32_t acrossSteps, std::size_t samples, T* out);

/// The versions for a vector target that can run here; the scalar ones are the definition.
template <class T>
[[nodiscard]] DownRow<T> DownRowFor(SimdTarget target);
template <class T>
[[nodiscard]] DownRowWhole<T> DownRowWholeFor(SimdTarget target);

template <class T>
void DownRowScalar(const double* upper, const double* lower, double fraction, std::size_t samples, T* out);
template <class T>
void DownRowWholeScalar(const WholeOf<T>* upper, const WholeOf<T>* lower, std::uint32_t part,
                        std::uint32_t steps, std::uint32_t acrossSteps, std::size_t samples, T* out);

} // namespace kernels
