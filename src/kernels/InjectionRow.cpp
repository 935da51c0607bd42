#include "kernels/InjectionRow.h"

#include "kernels/Store.h"

namespace kernels {

template <class T>
void InjectionRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands) {
    const InjectionGains& how = *bands.injection;
    FuseByFormula(rows, out, pixels, bands, [&how](double pan, double intensity) {
        const double detail = pan - intensity;
        const double m = intensity > how.floor ? intensity : how.floor;
        const double r = m > 0.0 ? 1.0 / m : 0.0;
        return [&how, detail, r](double ms, std::uint32_t c) {
            const double q = ms * r;
            double g = how.gains[c];
            if (how.ratioGains[c] != 0.0) g = g + how.ratioGains[c] * q;
            const double most = how.limit * q;
            if (most < g) g = most;
            return StoreRounded<T>(ms + g * detail);
        };
    });
}

template void InjectionRowScalar(const FusionRows<unsigned char>&, unsigned char*, std::size_t,
                                 const BandWeights&);
template void InjectionRowScalar(const FusionRows<unsigned short>&, unsigned short*, std::size_t,
                                 const BandWeights&);

} // namespace kernels
