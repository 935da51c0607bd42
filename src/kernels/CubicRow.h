#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

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
/// of T. Values and weights are those of the definition, or whole numbers of steps.
template <class T, class V>
void CubicDown(const std::array<const V*, 4>& rows, const std::array<V, 4>& weights, std::size_t samples,
               T* out);

/// Fractions of eighths, as even ratios have, make all weights whole numbers of these steps. Then every
/// product and sum of the definition is exact, and whole numbers give the same samples.
inline constexpr int cubicStepBits = 10;
[[nodiscard]] bool HasWholeSteps(std::span<const CubicTap> taps);

/// The same for rows and vectors: source rows are taken apart first, so that a pixel's bands begin a group of
/// so many numbers. V is double, or std::int32_t for whole numbers.
inline constexpr std::uint32_t cubicGroup = 4;

/// Numbers of a pixel of so many bands, those that fill it up counted.
[[nodiscard]] constexpr std::uint32_t CubicPixel(std::uint32_t bands) {
    return (bands + cubicGroup - 1) / cubicGroup * cubicGroup;
}

/// A tap as offsets into a spread row.
template <class V>
struct SpreadCubicTap {
    std::array<std::uint32_t, 4> at{};
    std::array<V, 4> weights{};
};

/// The weights of a tap as they are, or in whole numbers of steps.
template <class V>
[[nodiscard]] std::array<V, 4> CubicWeights(const CubicTap& tap);

/// Takes a source row apart: writes pixels * CubicPixel(bands) numbers.
template <class T, class V>
void SpreadCubic(const T* source, std::size_t pixels, std::uint32_t bands, V* out);

/// Interpolates a spread row across: writes pixels * bands values, and up to cubicGroup - 1 of no meaning
/// behind them.
template <class V>
using CubicAcrossRow = void (*)(const V* source, const SpreadCubicTap<V>* taps, std::size_t pixels,
                                std::uint32_t bands, V* out);
/// CubicDown.
template <class T, class V>
using CubicDownRow = void (*)(const std::array<const V*, 4>& rows, const std::array<V, 4>& weights,
                              std::size_t samples, T* out);

/// The versions for a vector target that can run here.
template <class V>
[[nodiscard]] CubicAcrossRow<V> CubicAcrossRowFor(SimdTarget target);
template <class T, class V>
[[nodiscard]] CubicDownRow<T, V> CubicDownRowFor(SimdTarget target);

template <class V>
void CubicAcrossRowScalar(const V* source, const SpreadCubicTap<V>* taps, std::size_t pixels,
                          std::uint32_t bands, V* out);

} // namespace kernels
