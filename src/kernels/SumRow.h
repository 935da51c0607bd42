#pragma once

#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace kernels {

/// sums[i] = the sum of weights[row] * rows[row][i] over the rows in their order, for i below `length`,
/// rounded after each product and after each sum.
using SumWeighted = void (*)(const unsigned short* const* rows, const double* weights, std::size_t rowCount,
                             std::size_t length, double* sums);

/// Number of parts of a sum of products: part i takes every eighth product from the i-th on.
inline constexpr std::size_t sumParts = 8;

/// Of rows of numbers that lie one after the other, `length` numbers each, a multiple of sumParts: adds the
/// products of two rows, number by number, to the parts of their pair, for all pairs. `parts` are those of
/// the first pair, then those of the second, and so on.
using AddProducts = void (*)(const double* rows, std::size_t length,
                             const std::pair<std::size_t, std::size_t>* pairs, std::size_t pairCount,
                             double* parts);

/// Pixels that are split into planes at a time.
inline constexpr std::size_t spreadPixels = 128;
/// Splits up to spreadPixels interleaved pixels into a plane for each band, spreadPixels apart.
using SpreadPixels = void (*)(const unsigned short* pixels, std::size_t bands, std::size_t count,
                              unsigned short* planes);

/// Length of the rows in which products of whole numbers are summed. Shorter ones are filled up with zeros.
inline constexpr std::size_t wholeRow = 32;
/// Number of parts of a sum of them.
inline constexpr std::size_t wholeParts = 16;
/// The largest difference, up or down, of which the parts hold the products' sums of up to wholeRow rows.
inline constexpr int mostDifference = 4095;

/// From each plane, which are spreadPixels apart, `count` samples, up to wholeRow, less the plane's origin,
/// to one row after the other. False when a difference is larger than mostDifference.
using LessOrigins = bool (*)(const unsigned short* planes, const unsigned short* origins, std::size_t rows,
                             std::size_t count, short* differences);

/// What AddProducts does, with rows of whole numbers. Each target deals the products out to the parts in its
/// own way: the sum of all parts of a pair is the same, as whole numbers are not rounded.
using AddWholeProducts = void (*)(const short* rows, const std::pair<std::size_t, std::size_t>* pairs,
                                  std::size_t pairCount, std::int32_t* parts);

/// The versions for a vector target that can run here; the scalar ones are the definition.
[[nodiscard]] SumWeighted SumWeightedFor(SimdTarget target);
[[nodiscard]] AddProducts AddProductsFor(SimdTarget target);
[[nodiscard]] SpreadPixels SpreadPixelsFor(SimdTarget target);
[[nodiscard]] LessOrigins LessOriginsFor(SimdTarget target);
[[nodiscard]] AddWholeProducts AddWholeProductsFor(SimdTarget target);

void SumWeightedScalar(const unsigned short* const* rows, const double* weights, std::size_t rowCount,
                       std::size_t length, double* sums);
void AddProductsScalar(const double* rows, std::size_t length,
                       const std::pair<std::size_t, std::size_t>* pairs, std::size_t pairCount,
                       double* parts);
void SpreadPixelsScalar(const unsigned short* pixels, std::size_t bands, std::size_t count,
                        unsigned short* planes);
bool LessOriginsScalar(const unsigned short* planes, const unsigned short* origins, std::size_t rows,
                       std::size_t count, short* differences);
void AddWholeProductsScalar(const short* rows, const std::pair<std::size_t, std::size_t>* pairs,
                            std::size_t pairCount, std::int32_t* parts);

} // namespace kernels
