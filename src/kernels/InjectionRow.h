#pragma once

#include "kernels/FusionRow.h"
#include "kernels/Simd.h"

#include <limits>

namespace kernels {

/// How much of the detail every output band takes. Both arrays have one number an output band.
struct InjectionGains {
    const double* gains = nullptr;
    const double* ratioGains = nullptr;                     ///< of the band's ratio to the intensity
    double limit = std::numeric_limits<double>::infinity(); ///< of a gain, in ratios; infinite for none
    double floor = 0.0;                                     ///< the least intensity that is divided by
};

/// Injection: every output band is its multispectral band plus the detail, which is the difference between
/// pan and the intensity I, the weighted sum of all multispectral bands, times a gain that may
/// follow the band's ratio to the intensity,
///
///     m = the larger of I and floor
///     r = 1 / m, or 0 when m is not above 0
///     q = ms[c] * r
///     g = gains[c] + ratioGains[c] * q, or gains[c] when ratioGains[c] is 0
///     g = limit * q when that is less than g
///     out[c] = round(clamp(ms[c] + g * (pan - I)))
///
/// in IEEE double, one rounding per operation. With gains of 1, ratio gains of 0 and no limit it is KOVA.
/// This scalar version is the definition; every other version gives the same bytes.
template <class T>
void InjectionRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands);

/// The version for a vector target that can run here. Asked once, when an image is initialised.
template <class T>
FuseRow<T> InjectionRowFor(SimdTarget target);

} // namespace kernels
