#pragma once

#include "kernels/Simd.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace kernels {

/// Weights of the eight pixels around a pixel of an image of half the size, in steps of 1/256. They are the
/// cubic kernel (Keys 1981, a = -0.5) stretched to twice its width, at distances of 0.25, 0.75, 1.25 and 1.75
/// of the larger pixels. They add up to 256, and all sums of products with samples are whole numbers.
inline constexpr std::array<std::int32_t, 8> halvingWeights{-3, -9, 29, 111, 111, 29, -9, -3};

/// A type that holds every sum of products exactly.
template <class T>
using HalvingSum = std::conditional_t<sizeof(T) == 1, std::int32_t, double>;

/// Computes a row of an image of half the size. Output pixel x is made from the pixels 2 x - 3 to 2 x + 4 of
/// eight rows, with `bands` interleaved samples each, for x from 2 to `pixels` - 3; other output pixels are
/// not written. The sum is rounded to float, one half is added in float, and the result is limited to the
/// range of T and truncated, as GDAL does. `rows` have 2 * pixels pixels; `room` is scratch memory for 4 *
/// pixels * bands numbers.
template <class T>
using HalveRow = void (*)(const std::array<const T*, 8>& rows, std::size_t pixels, std::size_t bands,
                          HalvingSum<T>* room, T* out);

/// The definition.
template <class T>
void HalveRowScalar(const std::array<const T*, 8>& rows, std::size_t pixels, std::size_t bands,
                    HalvingSum<T>* room, T* out);

/// In vectors, with the same samples, since all sums are exact.
template <class T>
[[nodiscard]] HalveRow<T> HalveRowFor(SimdTarget target);

} // namespace kernels
