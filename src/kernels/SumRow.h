#pragma once

#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace kernels {

/// sums[i] = the sum of weights[row] * rows[row][i] over the rows in order, for i below `length`. Each
/// product and each sum is rounded.
using SumWeighted = void (*)(const unsigned short* const* rows, const double* weights, std::size_t rowCount,
                             std::size_t length, double* sums);

/// Number of parts of a sum of products. Part i has every eighth product from the i-th on.
inline constexpr std::size_t sumParts = 8;

/// The rows lie one after the other, `length` numbers each, a multiple of sumParts. For each pair of rows,
/// adds the products of their numbers to the parts of the pair. `parts` holds those of the first pair, then
/// those of the second, and so on.
using AddProducts = void (*)(const double* rows, std::size_t length,
                             const std::pair<std::size_t, std::size_t>* pairs, std::size_t pairCount,
                             double* parts);

/// Number of pixels that are split into planes at a time.
inline constexpr std::size_t spreadPixels = 128;
/// Splits up to spreadPixels interleaved pixels into a plane for each band, spreadPixels apart.
using SpreadPixels = void (*)(const unsigned short* pixels, std::size_t bands, std::size_t count,
                              unsigned short* planes);

/// Length of the rows for whole-number products. Shorter rows are padded with zeros.
inline constexpr std::size_t wholeRow = 32;
/// Number of parts of a sum of whole-number products.
inline constexpr std::size_t wholeParts = 16;
/// The largest difference, up or down, for which the parts can hold the sums of up to wholeRow rows of
/// products.
inline constexpr int mostDifference = 4095;

/// Takes `count` samples, up to wholeRow, from each plane, subtracts the plane's origin, and writes the rows
/// one after the other. Planes are spreadPixels apart. False when a difference exceeds mostDifference.
using LessOrigins = bool (*)(const unsigned short* planes, const unsigned short* origins, std::size_t rows,
                             std::size_t count, short* differences);

/// Like AddProducts, for rows of whole numbers. Each target distributes the products over the parts in its
/// own way; the sum of all parts of a pair is the same, since whole numbers are not rounded.
using AddWholeProducts = void (*)(const short* rows, const std::pair<std::size_t, std::size_t>* pairs,
                                  std::size_t pairCount, std::int32_t* parts);

/// The versions for a vector target that can run here. The scalar ones are the definition.
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
