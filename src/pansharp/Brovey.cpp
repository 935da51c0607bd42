#include "pansharp/Brovey.h"

#include "kernels/BroveyRow.h"

namespace PXL {

template <class Info, class T, class Traits>
Brovey<ImageBase<Info, T*, Traits>>::Brovey() {
    Brovey::Reset();
}

template <class Info, class T, class Traits>
Brovey<ImageBase<Info, T*, Traits>>::~Brovey() = default;

template <class Info, class T, class Traits>
bool Brovey<ImageBase<Info, T*, Traits>>::Reset() {
    PanSharp<ImageBase<Info, T*, Traits>>::Reset();
    return this->status.Insert(0, {});
}

template <class Info, class T, class Traits>
bool Brovey<ImageBase<Info, T*, Traits>>::Init(InputImage* multispectral, InputImage* pan) {
    if (!this->PrepareInit(multispectral, pan)) return false;
    this->bandWeights = this->ReadBandNumbers("BandWeight", 1.0, 1.0);
    ScaleBandWeights();
    this->ReadAdditionalBandWeight();
    this->FinishInit(kernels::BroveyRowFor<T>(this->simd.Get()));
    return true;
}

template <class Info, class T, class Traits>
void Brovey<ImageBase<Info, T*, Traits>>::ScaleBandWeights() {
    std::vector<double>& w = this->bandWeights;
    if (w.size() <= 3 || !(w[0] > 0.0 && w[1] > 0.0 && w[2] > 0.0)) return;
    const double scale = w[3] > 0.0 ? 4.0 : 3.0;
    for (std::size_t b = 0; b < 4; ++b)
        w[b] *= scale;
}

template class Brovey<Image<unsigned char>>;
template class Brovey<Image<unsigned short>>;

} // namespace PXL
