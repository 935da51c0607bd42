#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

struct InjectionGains;

/// What a fusing kernel needs to know of the bands. The weights, one a multispectral band, belong to the
/// caller, and so do the gains.
struct BandWeights {
    const double* weights = nullptr;
    std::uint32_t msBands = 0;
    std::uint32_t outputBands = 0; ///< the first so many multispectral bands are written; at most msBands
    const InjectionGains* injection = nullptr; ///< read by InjectionRow alone, which needs it
};

/// Fuses one row of `pixels` pixels: reads exactly pixels * msBands samples of `ms` and pixels of `pan`,
/// writes exactly pixels * outputBands samples of `out`, all interleaved by pixel. `out` overlaps neither
/// input.
template <class T>
using FuseRow = void (*)(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands);

/// The weighted sum of the bands of one pixel, from 0.0 up in the order of the bands, one rounding an
/// operation.
template <class T>
inline double PixelSum(const T* pixel, const BandWeights& bands) {
    double s = 0.0;
    for (std::uint32_t b = 0; b < bands.msBands; ++b)
        s = s + pixel[b] * bands.weights[b];
    return s;
}

} // namespace kernels
