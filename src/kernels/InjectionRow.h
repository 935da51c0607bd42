#pragma once

#include "kernels/FusionRow.h"
#include "kernels/Simd.h"

#include <limits>

namespace kernels {

/// How much of the detail is added to every output band. Both arrays have one number per output band.
struct InjectionGains {
    const double* gains = nullptr;
    const double* ratioGains = nullptr;                     ///< for the band's ratio to the intensity
    double limit = std::numeric_limits<double>::infinity(); ///< upper limit of a gain, in ratios; infinite
                                                            ///< for no limit
    double floor = 0.0;                                     ///< lowest intensity used as a divisor
};

/// Injection: every output band is its multispectral band plus a gain times the detail. The detail is pan
/// minus the intensity I, the weighted sum of all multispectral bands. The gain may depend on the band's
/// ratio to the intensity:
///
///     m = the larger of I and floor
///     r = 1 / m, or 0 when m is not above 0
///     q = ms[c] * r
///     g = gains[c] + ratioGains[c] * q, or gains[c] when ratioGains[c] is 0
///     g = limit * q when that is less than g
///     out[c] = round(clamp(ms[c] + g * (pan - I)))
///
/// in IEEE double, with one rounding per operation. With gains of 1, ratio gains of 0 and no limit it is
/// KOVA. This scalar version is the definition; every other version gives the same bytes.
template <class T>
void InjectionRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands);

/// The version for a vector target that can run here. Choose it once, when an image is initialised.
template <class T>
FuseRow<T> InjectionRowFor(SimdTarget target);

} // namespace kernels
