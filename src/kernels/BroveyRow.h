#pragma once

#include "kernels/FusionRow.h"
#include "kernels/Simd.h"

namespace kernels {

/// Brovey (Gillespie, Kahle and Walker 1987): every output band is its multispectral band times the ratio of
/// pan to the weighted sum s of all multispectral bands,
///
///     r = pan / s, or 0 when s is 0
///     out[c] = truncate(ms[c] * r), within the pixel range
///
/// in IEEE double: first the division, then the product, then truncation. This scalar version is the
/// definition; every other version gives the same bytes.
template <class T>
void BroveyRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands);

/// The version for a vector target that can run here. Choose it once, when an image is initialised.
template <class T>
FuseRow<T> BroveyRowFor(SimdTarget target);

} // namespace kernels
