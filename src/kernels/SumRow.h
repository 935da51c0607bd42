#pragma once

#include "kernels/Simd.h"

#include <cstddef>
#include <utility>

namespace kernels {

/// sums[i] += weight * samples[i] for i below `count`, rounded after the product and after the sum.
using AddWeighted = void (*)(const unsigned short* samples, double weight, std::size_t count, double* sums);

/// A sum of products is made in so many parts: part i takes every eighth product from the i-th on.
inline constexpr std::size_t sumParts = 8;

/// Of rows of numbers that lie one after the other, `length` numbers each, a multiple of sumParts: adds the
/// products of two rows, number by number, to the parts of their pair, for all pairs. `parts` are those of
/// the first pair, then those of the second, and so on.
using AddProducts = void (*)(const double* rows, std::size_t length,
                             const std::pair<std::size_t, std::size_t>* pairs, std::size_t pairCount,
                             double* parts);

/// The versions for a vector target that can run here; the scalar ones are the definition.
[[nodiscard]] AddWeighted AddWeightedFor(SimdTarget target);
[[nodiscard]] AddProducts AddProductsFor(SimdTarget target);

void AddWeightedScalar(const unsigned short* samples, double weight, std::size_t count, double* sums);
void AddProductsScalar(const double* rows, std::size_t length,
                       const std::pair<std::size_t, std::size_t>* pairs, std::size_t pairCount,
                       double* parts);

} // namespace kernels
