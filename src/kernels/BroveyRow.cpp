#include "kernels/BroveyRow.h"

#include "kernels/Store.h"

namespace kernels {

template <class T>
void BroveyRowScalar(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    for (std::size_t p = 0; p < pixels; ++p) {
        const double s = PixelSum(ms, bands);
        const double r = s == 0.0 ? 0.0 : pan[p] / s;
        for (std::uint32_t c = 0; c < bands.outputBands; ++c)
            out[c] = StoreTruncated<T>(ms[c] * r);
        ms += bands.msBands;
        out += bands.outputBands;
    }
}

template void BroveyRowScalar(const unsigned char*, const unsigned char*, unsigned char*, std::size_t,
                              const BandWeights&);
template void BroveyRowScalar(const unsigned short*, const unsigned short*, unsigned short*, std::size_t,
                              const BandWeights&);

} // namespace kernels
