#pragma once

#include "kernels/Simd.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace kernels {

/// Weights of the eight pixels around one of an image of half the size, in steps of 1/256: the cubic kernel
/// (Keys 1981, a = -0.5) stretched to twice its width, at distances of 0.25, 0.75, 1.25 and 1.75 of its
/// pixels. They add up to 256, and all sums of products with samples are whole.
inline constexpr std::array<std::int32_t, 8> halvingWeights{-3, -9, 29, 111, 111, 29, -9, -3};

/// Numbers that hold every sum of products exactly.
template <class T>
using HalvingSum = std::conditional_t<sizeof(T) == 1, std::int32_t, double>;

/// Makes a row of an image of half the size: pixel x of `bands` interleaved samples of the pixels 2 x - 3 to
/// 2 x + 4 of eight rows, for x from 2 to `pixels` - 3; the others are left alone. The sum is rounded to
/// float, a half is added in float, and what is within the range of T is cut to a whole number, as GDAL
/// resamples. `rows` have 2 * pixels pixels; `room` is for 4 * pixels * bands numbers.
template <class T>
using HalveRow = void (*)(const std::array<const T*, 8>& rows, std::size_t pixels, std::size_t bands,
                          HalvingSum<T>* room, T* out);

/// The definition.
template <class T>
void HalveRowScalar(const std::array<const T*, 8>& rows, std::size_t pixels, std::size_t bands,
                    HalvingSum<T>* room, T* out);

/// In vectors: the same numbers, since all sums are exact.
template <class T>
[[nodiscard]] HalveRow<T> HalveRowFor(SimdTarget target);

} // namespace kernels
