#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

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

/// Fractions of eighths, as even ratios have, make all weights whole numbers of these steps. Then every
/// product and sum of the definition is exact, in whole numbers and in double, in any order.
inline constexpr int cubicStepBits = 10;
[[nodiscard]] bool HasWholeSteps(std::span<const CubicTap> taps);

/// Vectors interpolate down first, where there are few samples, then across (CubicResampler). They count in
/// numbers V: std::int32_t for whole steps of 8-bit samples, float for other 8-bit ones, double for 16 bits.
/// Where that is not exact they err by less than cubicError samples, and the definition has to settle those
/// whose rounding this could change. u is 2^-24 in float and 2^-53 in double, S the largest sample. The
/// weights' magnitudes add up to 1.25 at most. Down there are five roundings (of the weights, then of each
/// sum) of at most 1.25 S u each, and being weighted across they grow by 1.25; across there are five of at
/// most (1.25^2 S + 1) u. Together that is less than 18 S u, and the definition errs by no more.
template <class V>
inline constexpr double cubicError = std::is_same_v<V, float> ? 36.0 * 255 / (1 << 24)
                                                              : 36.0 * 65535 / (std::int64_t{1} << 53);

/// The weights of a tap in numbers V; whole steps for std::int32_t.
template <class V>
[[nodiscard]] std::array<V, 4> CubicWeights(const CubicTap& tap);

/// How every vector of output samples of a row is made of the samples of a row of the source. Those of the
/// first taps lie in one vector of the source, the others' as many samples further as a pixel has.
template <class V>
struct CubicPlan {
    using Lane = std::conditional_t<sizeof(V) == 8, std::int64_t, std::int32_t>;

    std::uint32_t lanes = 0; ///< samples of a vector
    std::uint32_t bands = 0;
    std::int64_t firstPixel = 0; ///< of the source row that it needs; may lie before the image
    std::uint32_t pixels = 0;    ///< that it needs from there on
    struct Vector {
        std::uint32_t out = 0;    ///< its first sample
        std::uint32_t source = 0; ///< where the source's vector begins, in samples from the first pixel
    };
    std::vector<Vector> vectors; ///< each by the pattern of its number modulo that of patterns
    std::vector<Lane> lookups;   ///< of each pattern: the lane of the source for every lane
    std::vector<V> weights;      ///< of each pattern: of the first taps of every lane, of the second, ...
};

/// A plan for the columns of a window, by lanes of a target. None where they lie so far apart that a vector
/// of output needs more than one of the source.
template <class V>
[[nodiscard]] std::optional<CubicPlan<V>> MakeCubicPlan(std::span<const GridPosition> columns,
                                                        std::uint32_t bands, std::uint32_t lanes);

template <class T, class V>
struct CubicKernels {
    std::uint32_t lanes = 0; ///< for the plan; 0 for the scalar target, which has the definition only
    /// Weights source rows down; no half is added.
    void (*down)(const std::array<const T*, 4>& rows, const std::array<V, 4>& weights, std::size_t samples,
                 V* out) = nullptr;
    /// Interpolates such a row across by a plan and rounds. `row` goes on for `lanes` numbers after the
    /// plan's pixels. Returns how many samples are uncertain, and their numbers in `uncertain`, which has
    /// room for the lanes of all vectors: some may stand there twice.
    std::size_t (*across)(const CubicPlan<V>& plan, const V* row, std::size_t samples, T* out,
                          std::uint32_t* uncertain) = nullptr;
};

/// Kernels for a vector target that can run here. `isExact` for whole steps down and across; needs it where V
/// is std::int32_t.
template <class T, class V>
[[nodiscard]] CubicKernels<T, V> CubicKernelsFor(SimdTarget target, bool isExact);

} // namespace kernels
