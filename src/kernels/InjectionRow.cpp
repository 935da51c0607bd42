#include "kernels/InjectionRow.h"

#include "kernels/Store.h"

namespace kernels {

template <class T>
void InjectionRowScalar(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    const InjectionGains& how = *bands.injection;
    for (std::size_t p = 0; p < pixels; ++p) {
        const double intensity = PixelSum(ms, bands);
        const double detail = pan[p] - intensity;
        const double m = intensity > how.floor ? intensity : how.floor;
        const double r = m > 0.0 ? 1.0 / m : 0.0;
        for (std::uint32_t c = 0; c < bands.outputBands; ++c) {
            const double q = ms[c] * r;
            double g = how.gains[c];
            if (how.ratioGains[c] != 0.0) g = g + how.ratioGains[c] * q;
            const double most = how.limit * q;
            if (most < g) g = most;
            out[c] = StoreRounded<T>(ms[c] + g * detail);
        }
        ms += bands.msBands;
        out += bands.outputBands;
    }
}

template void InjectionRowScalar(const unsigned char*, const unsigned char*, unsigned char*, std::size_t,
                                 const BandWeights&);
template void InjectionRowScalar(const unsigned short*, const unsigned short*, unsigned short*, std::size_t,
                                 const BandWeights&);

template <class T>
FuseRow<T> InjectionRowFor(SimdTarget /*target*/) {
    return &InjectionRowScalar<T>;
}

template FuseRow<unsigned char> InjectionRowFor(SimdTarget);
template FuseRow<unsigned short> InjectionRowFor(SimdTarget);

} // namespace kernels
