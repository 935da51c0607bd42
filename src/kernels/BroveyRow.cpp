#include "kernels/BroveyRow.h"

#include "kernels/Store.h"

namespace kernels {

template <class T>
void BroveyRowScalar(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands) {
    FuseByFormula(rows, out, pixels, bands, [](double pan, double s) {
        const double r = s == 0.0 ? 0.0 : pan / s;
        return [r](double ms, std::uint32_t) { return StoreTruncated<T>(ms * r); };
    });
}

template void BroveyRowScalar(const FusionRows<unsigned char>&, unsigned char*, std::size_t,
                              const BandWeights&);
template void BroveyRowScalar(const FusionRows<unsigned short>&, unsigned short*, std::size_t,
                              const BandWeights&);

} // namespace kernels
