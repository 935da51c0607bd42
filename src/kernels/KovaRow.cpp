#include "kernels/KovaRow.h"

#include "kernels/Store.h"

namespace kernels {

template <class T>
void KovaRowScalar(const T* ms, const T* pan, T* out, std::size_t pixels, const BandWeights& bands) {
    for (std::size_t p = 0; p < pixels; ++p) {
        const double d = pan[p] - PixelSum(ms, bands);
        for (std::uint32_t c = 0; c < bands.outputBands; ++c)
            out[c] = StoreRounded<T>(ms[c] + d);
        ms += bands.msBands;
        out += bands.outputBands;
    }
}

template void KovaRowScalar(const unsigned char*, const unsigned char*, unsigned char*, std::size_t,
                            const BandWeights&);
template void KovaRowScalar(const unsigned short*, const unsigned short*, unsigned short*, std::size_t,
                            const BandWeights&);

} // namespace kernels
