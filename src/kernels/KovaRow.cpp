#include "kernels/KovaRow.h"

#include "kernels/Store.h"

namespace kernels {

template <class T>
void KovaRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands) {
    FuseByFormula(rows, out, pixels, bands, [](double pan, double s) {
        const double d = pan - s;
        return [d](double ms, std::uint32_t) { return StoreRounded<T>(ms + d); };
    });
}

template void KovaRowScalar(const FusionRows<unsigned char>&, unsigned char*, std::size_t,
                            const BandWeights&);
template void KovaRowScalar(const FusionRows<unsigned short>&, unsigned short*, std::size_t,
                            const BandWeights&);

} // namespace kernels
