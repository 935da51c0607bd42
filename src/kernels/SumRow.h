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

/// Sums over pairs of whole numbers a and b.
struct PairSums {
    std::int64_t a = 0, b = 0, aa = 0, bb = 0, ab = 0; ///< of the numbers, their squares and their products
    bool operator==(const PairSums&) const = default;
};
/// The most pairs that AddPairs takes at a time.
inline constexpr std::size_t mostPairs = 1024;
/// Adds `count` pairs, up to mostPairs. Numbers must lie within -2^20 to 2^20.
using AddPairs = void (*)(const std::int32_t* a, const std::int32_t* b, std::size_t count, PairSums& sums);

/// The sum of angles between spectra, in radians, and how many they are.
struct AngleSum {
    double radians = 0.0;
    std::uint64_t count = 0;
    bool operator==(const AngleSum&) const = default;
};
/// Adds the angles between the spectra of `count` pixels of two images, from left to right. Each image has a
/// plane per band, `stride` samples apart. A pixel has no angle if one of its spectra is 0 in all bands.
using AddAngles = void (*)(const unsigned short* image, const unsigned short* reference, std::size_t stride,
                           std::size_t bands, std::size_t count, AngleSum& sum);
/// The angle of a cosine, in radians.
[[nodiscard]] double FindAngle(double cosine);

/// The versions for a vector target that can run here. The scalar ones are the definition.
[[nodiscard]] SumWeighted SumWeightedFor(SimdTarget target);
[[nodiscard]] AddProducts AddProductsFor(SimdTarget target);
[[nodiscard]] SpreadPixels SpreadPixelsFor(SimdTarget target);
[[nodiscard]] LessOrigins LessOriginsFor(SimdTarget target);
[[nodiscard]] AddWholeProducts AddWholeProductsFor(SimdTarget target);
[[nodiscard]] AddPairs AddPairsFor(SimdTarget target);
[[nodiscard]] AddAngles AddAnglesFor(SimdTarget target);

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
void AddPairsScalar(const std::int32_t* a, const std::int32_t* b, std::size_t count, PairSums& sums);
void AddAnglesScalar(const unsigned short* image, const unsigned short* reference, std::size_t stride,
                     std::size_t bands, std::size_t count, AngleSum& sum);

} // namespace kernels
