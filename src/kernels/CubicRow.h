#pragma once

#include "kernels/AcrossPlan.h"
#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <type_traits>

/// Cubic convolution between pixel centres (Keys 1981, a = -0.5), separated by axis. A source row is
/// interpolated across once; then four such rows are weighted down.
namespace kernels {

/// The four source pixels around a position, edges replicated, and their weights. A weight may be negative.
/// The four add up to 1 except for rounding.
struct CubicTap {
    std::array<std::uint32_t, 4> at{};
    std::array<double, 4> weights{};
};

/// The weights of the pixels index - 1 to index + 2 for a position t of the way from index to index + 1:
///
///     ((-0.5 t + 1) t - 0.5) t,  (1.5 t - 2.5) t t + 1,  ((-1.5 t + 2) t + 0.5) t,  (0.5 t - 0.5) t t
[[nodiscard]] CubicTap MakeCubicTap(const GridPosition& position, std::int64_t pixels);

/// Interpolates one source row across: pixels * bands values, interleaved by pixel. `at` of the taps holds
/// offsets into the row, in samples. The four products are added from left to right.
template <class T>
void CubicAcross(const T* source, const CubicTap* taps, std::size_t pixels, std::uint32_t bands, double* out);

/// Weights four interpolated rows, adding from the top, and stores the sum within the range of T, rounded
/// half up.
template <class T>
void CubicDown(const std::array<const double*, 4>& rows, const std::array<double, 4>& weights,
               std::size_t samples, T* out);

/// The weights for fractions that are multiples of 1 / steps are whole multiples of 1 / CubicScale(steps):
/// the formulas times 2 * steps^3 are whole, and even if `steps` is odd.
[[nodiscard]] constexpr std::uint32_t CubicScale(std::uint32_t steps) {
    return steps * steps * steps * (steps % 2 == 0 ? 2 : 1);
}

/// One scale for all even steps, which divide 16. The weights fit into 16 bits.
inline constexpr std::uint32_t splitCubicScale = CubicScale(16);

/// How vectors compute sums.
enum class CubicSums {
    Real, ///< they may err
    Odd,  ///< in whole numbers, for odd numbers of steps
    Even, ///< in whole numbers, for even numbers of steps
    Split ///< like Even, but from two parts of each number, with weights times splitCubicScale
};

/// For the numbers of steps across and down (WholeSteps). Whole sums must give the samples of the definition.
/// If sums of up to 1.25^2 times the largest sample, with the half to round, do not fit into 32 bits, even
/// ones are split, and odd ones are real.
template <class T>
[[nodiscard]] constexpr CubicSums CubicSumsFor(std::uint32_t across, std::uint32_t down) {
    if (!AreWhole(across, down)) return CubicSums::Real;
    const std::uint64_t scale = std::uint64_t{CubicScale(across)} * CubicScale(down);
    constexpr std::uint64_t sixteenths = 25 * std::uint64_t{std::numeric_limits<T>::max()} + 8; // of a sum
    const bool isEven = across % 2 == 0, fits = scale * sixteenths < std::uint64_t{16} << 31;
    if (fits) return isEven ? CubicSums::Even : CubicSums::Odd;
    return isEven ? CubicSums::Split : CubicSums::Real;
}

/// Vectors interpolate down first, where there are fewer samples, then across (CubicResampler). They use
/// numbers V: std::int32_t for whole sums; for real ones float for 8-bit samples, double for 16 bits. Real
/// numbers err by less than cubicError samples, and samples whose rounding this could change are computed by
/// the definition.
///
/// Derivation, with u = 2^-24 in float or 2^-53 in double and S the largest sample. The magnitudes of the
/// weights add up to at most 1.25. Down, there are five roundings (of the weights and of each sum) of at most
/// 1.25 S u each; weighting across multiplies them by up to 1.25. Across, there are five of at most (1.25^2 S
/// + 1) u. Together that is less than 18 S u, and the definition errs by no more.
template <class V>
inline constexpr double cubicError = std::is_same_v<V, float> ? 36.0 * 255 / (1 << 24)
                                                              : 36.0 * 65535 / (std::int64_t{1} << 53);

/// The weights of a tap as numbers V, times `scale`. For std::int32_t that is the CubicScale, otherwise 1.
template <class V>
[[nodiscard]] std::array<V, 4> CubicWeights(const CubicTap& tap, std::uint32_t scale);

/// A plan for the columns of a window, with weights times `scale`; see MakeAcrossPlan.
template <class V>
[[nodiscard]] std::optional<AcrossPlan<V>> MakeCubicPlan(std::span<const GridPosition> columns,
                                                         std::uint32_t bands, std::uint32_t lanes,
                                                         std::uint32_t scale);

template <class T, class V>
struct CubicKernels {
    std::uint32_t lanes = 0; ///< for the plan; 0 for the scalar target, which has only the definition
    /// Weights source rows down, without adding a half.
    void (*down)(const std::array<const T*, 4>& rows, const std::array<V, 4>& weights, std::size_t samples,
                 V* out) = nullptr;
    /// Interpolates such a row across by a plan and rounds. `row` must extend `lanes` numbers beyond the
    /// plan's pixels, and may be overwritten. `scale` is the product of both scales of whole numbers. Returns
    /// the number of uncertain samples and writes their positions to `uncertain`, which must have room for
    /// all lanes of all vectors. A position may occur twice.
    std::size_t (*across)(const AcrossPlan<V>& plan, V* row, std::uint32_t scale, std::size_t samples, T* out,
                          std::uint32_t* uncertain) = nullptr;
    std::size_t rows = 1; ///< how many such rows `row` must have room for
};

/// Kernels for a vector target that can run here, with the numbers V of such sums.
template <class T, class V>
[[nodiscard]] CubicKernels<T, V> CubicKernelsFor(SimdTarget target, CubicSums sums);

} // namespace kernels
