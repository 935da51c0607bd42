#pragma once

#include "kernels/AcrossPlan.h"
#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
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

/// Holds whole numbers of up to 256 times the largest sample.
template <class T>
using WholeOf = std::conditional_t<sizeof(T) == 1, std::uint16_t, float>;

/// Interpolates one source row across. Writes exactly pixels * bands values between 0 and the largest sample.
/// Reads only the samples at the offsets of the taps.
template <class T>
using AcrossRow = void (*)(const T* source, const BilinearTap* taps, std::size_t pixels, std::uint32_t bands,
                           double* out);

/// The version for a band count. Choose it once per window, not once per row.
template <class T>
[[nodiscard]] AcrossRow<T> ChooseAcrossRow(std::uint32_t bands);

/// A plan for the columns of a window in whole numbers of steps across; see MakeAcrossPlan.
[[nodiscard]] std::optional<AcrossPlan<float>> MakeWholePlan(std::span<const GridPosition> columns,
                                                             std::uint32_t bands, std::uint32_t lanes,
                                                             std::uint32_t steps);

/// Interpolation across in whole numbers, in vectors.
template <class T>
struct AcrossWhole {
    std::uint32_t lanes = 0; ///< for the plan; 0 for the scalar target, which has only the definition
    /// Writes the values of a row, `steps` times as large as samples, and up to `lanes` undefined ones after
    /// them.
    void (*across)(const AcrossPlan<float>& plan, const float* row, WholeOf<T>* out) = nullptr;
};

template <class T>
[[nodiscard]] AcrossWhole<T> AcrossWholeFor(SimdTarget target);

/// Blends two interpolated rows of `samples` values and stores the result rounded half up.
template <class T>
using DownRow = void (*)(const double* upper, const double* lower, double fraction, std::size_t samples,
                         T* out);

/// The same for rows in whole numbers. The output row lies `part` of `steps` on the way down, and the values
/// are `acrossSteps` times as large as samples. AreWhole is true for both numbers of steps.
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
