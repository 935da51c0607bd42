#pragma once

#include "kernels/FusionRow.h"
#include "kernels/Simd.h"

namespace kernels {

/// IHS needs at least this many multispectral bands. Red, green and blue come first.
inline constexpr std::uint32_t ihsFewestBands = 3;

/// IHS: the hue and saturation of the first three bands (hexcone model, Smith 1978) with the value of pan,
/// minus the share I of the infrared band. That is band index 3, if there are more than three bands:
///
///     u(x) = x * (1 / max)                     R, G, B = u of bands 0, 1, 2
///     I = ms[3] * (weights[3] / max), else 0   V = u(pan) - I, at least 0
///     out[0..2] = truncate(new R, G, B * max)
///     out[3] = truncate(pan - (out[0] + out[1] + out[2]) / 3 + I), bands from 4 on are ms unchanged
///
/// in IEEE double, within the pixel range. Only weights[3] is read, and only if msBands is greater than 3.
/// This scalar version is the definition; every other version gives the same bytes.
template <class T>
void IhsRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands);

/// The version for a vector target that can run here. Choose it once, when an image is initialised.
template <class T>
FuseRow<T> IhsRowFor(SimdTarget target);

} // namespace kernels
