#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

/// Bilinear interpolation between pixel centres, separated by axis. A source row is interpolated across once;
/// then two such rows are blended down for every output row between them. All samples are interleaved by
/// pixel.
namespace kernels {

/// The two source samples around an output pixel, as offsets into a source row in samples (not pixels), and
/// how far the pixel lies from the first to the second.
struct BilinearTap {
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    double fraction = 0.0;
};

/// The two pixels around a position, edges replicated: 0 <= first <= second < pixels.
[[nodiscard]] BilinearTap ClampTap(const GridPosition& position, std::int64_t pixels);

/// The definition of a sample from its four neighbours: across first, then down, with one rounding per
/// operation:
///
///     h0 = a * (1 - fx) + b * fx    (upper row)      h1 = c * (1 - fx) + d * fx    (lower row)
///     floor(h0 * (1 - fy) + h1 * fy + 0.5)
template <class T>
[[nodiscard]] T BilinearSample(T a, T b, T c, T d, double fx, double fy);

/// Whole numbers large enough for 256 times the largest sample.
template <class T>
using WholeOf = std::conditional_t<sizeof(T) == 1, std::uint16_t, std::uint32_t>;

/// The smallest of the counts 1, 2, 4, 8 and 16 for which all fractions are multiples of 1 / count; 0 if none
/// is. With such fractions on both axes every product and sum of the definition is exact, so whole numbers
/// give the same samples.
[[nodiscard]] std::uint32_t WholeSteps(std::span<const BilinearTap> taps);

/// Interpolates one source row across. Writes exactly pixels * bands values between 0 and the largest sample.
/// Reads only the samples at the offsets of the taps.
template <class T>
using AcrossRow = void (*)(const T* source, const BilinearTap* taps, std::size_t pixels, std::uint32_t bands,
                           double* out);

/// The version for a band count. Choose it once per window, not once per row.
template <class T>
[[nodiscard]] AcrossRow<T> ChooseAcrossRow(std::uint32_t bands);

/// The same in whole numbers. A word holds several samples side by side, each with room for 16 times the
/// largest sample; one multiplication serves all of them.
using Word = std::uint64_t;

/// The number of words that hold the samples of one pixel.
template <class T>
[[nodiscard]] constexpr std::size_t PixelWords(std::uint32_t bands) {
    return (bands * sizeof(WholeOf<T>) + sizeof(Word) - 1) / sizeof(Word);
}

/// A tap as offsets in words, and the number of steps from the first to the second pixel.
struct WholeTap {
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    std::uint32_t part = 0;
};

/// Spreads the samples of a source row over words. Writes pixels * PixelWords words.
template <class T>
void SpreadRow(const T* source, std::size_t pixels, std::uint32_t bands, Word* out);

/// Interpolates a spread row across. Writes pixels * bands values, `steps` times as large as samples, and up
/// to sizeof(Word) undefined bytes after them.
template <class T>
void AcrossWhole(const Word* source, const WholeTap* taps, std::size_t pixels, std::uint32_t bands,
                 std::uint32_t steps, WholeOf<T>* out);

/// Blends two interpolated rows of `samples` values and stores the result rounded half up.
template <class T>
using DownRow = void (*)(const double* upper, const double* lower, double fraction, std::size_t samples,
                         T* out);

/// The same for rows in whole numbers. The output row lies `part` of `steps` on the way down, and the values
/// are `acrossSteps` times as large as samples. WholeSteps gives both numbers of steps.
template <class T>
using DownRowWhole = void (*)(const WholeOf<T>* upper, const WholeOf<T>* lower, std::uint32_t part,
                              std::uint32_t steps, std::uint32_t acrossSteps, std::size_t samples, T* out);

/// The versions for a vector target that can run here. The scalar ones are the definition.
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
