#include "pansharp/IHS.h"

#include "fundament/Numbers.h"
#include "kernels/IhsRow.h"

namespace PXL {

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
    // The kernel takes the infrared weight where that band stands, which need not be the last place.
    this->bandWeights.assign(this->msBandCount, 0.0);
    if (this->msBandCount > 3)
        this->bandWeights[3] = Fundament::StringToDouble(this->properties["AdditionalBandWeight"], 0.0);
    this->FinishInit(kernels::IhsRowFor<T>(this->simd.Get()));
    return true;
}

template class IHS<Image<unsigned char>>;
template class IHS<Image<unsigned short>>;

} // namespace PXL
