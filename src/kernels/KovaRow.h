#pragma once

#include "kernels/FusionRow.h"
#include "kernels/Simd.h"

namespace kernels {

/// KOVA: every output band is its multispectral band plus the detail, pan minus the weighted sum of all
/// multispectral bands:
///
///     s = 0.0 + ms[0] * w[0] + ms[1] * w[1] + ...     (one rounding per operation, in this order)
///     out[c] = round(clamp(ms[c] + (pan - s)))
///
/// in IEEE double. This scalar version is the definition; every other version gives the same bytes.
template <class T>
void KovaRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands);

/// The version for a vector target that can run here. Choose it once, when an image is initialised.
template <class T>
FuseRow<T> KovaRowFor(SimdTarget target);

} // namespace kernels
