#include "pansharp/IHS.h"

namespace PXL {

void ReadIhsWeight(const ParameterTexts& texts, std::span<double> weight) {
    ReadBandValues(texts, 0.0, 0.0, weight);
    ReadAdditionalValue(texts, weight);
}

template <class Info, class T, class Traits>
IHS<ImageBase<Info, T*, Traits>>::IHS() {
    IHS::Reset();
}

template <class Info, class T, class Traits>
IHS<ImageBase<Info, T*, Traits>>::~IHS() = default;

template <class Info, class T, class Traits>
bool IHS<ImageBase<Info, T*, Traits>>::Reset() {
    PanSharp<ImageBase<Info, T*, Traits>>::Reset();
    return this->status.Insert(0, {});
}

template <class Info, class T, class Traits>
bool IHS<ImageBase<Info, T*, Traits>>::Init(InputImage* multispectral, InputImage* pan) {
    if (!this->PrepareInit(multispectral, pan, kernels::ihsFewestBands)) return false;
    // The kernel takes the infrared weight at that band's index, which need not be the last.
    this->bandWeights.assign(this->msBandCount, 0.0);
    if (this->msBandCount > 3) this->bandWeights[3] = this->ReadValues(ihsWeights[0], 1).front();
    this->FinishInit(RowFor(this->simd.Get()));
    return true;
}

template <class Info, class T, class Traits>
kernels::FuseRow<T> IHS<ImageBase<Info, T*, Traits>>::RowFor(kernels::SimdTarget target) {
    return kernels::IhsRowFor<T>(target);
}

template class IHS<Image<unsigned char>>;
template class IHS<Image<unsigned short>>;

} // namespace PXL
