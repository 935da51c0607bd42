#pragma once

#include "kernels/FusionRow.h"
#include "kernels/Simd.h"

namespace kernels {

/// Brovey: every output band is its multispectral band times the ratio of pan to the weighted sum of all
/// multispectral bands,
///
///     s = 0.0 + ms[0] * w[0] + ms[1] * w[1] + ...     (one rounding an operation, in this order)
///     r = s != 0 ? pan / s : 0
///     out[c] = clamp(truncate(ms[c] * r))
///
/// in IEEE double. This scalar version is the definition; every other version gives the same bytes.
template <class T>
void BroveyRowScalar(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands);

/// The version for a vector target that can run here. Asked once, when an image is initialised.
template <class T>
FuseRow<T> BroveyRowFor(SimdTarget target);

} // namespace kernels
