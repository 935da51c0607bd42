#include "pansharp/Injection.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <limits>

namespace PXL {

template <class Info, class T, class Traits>
Injection<ImageBase<Info, T*, Traits>>::Injection() {
    Injection::Reset();
}

template <class Info, class T, class Traits>
Injection<ImageBase<Info, T*, Traits>>::~Injection() = default;

template <class Info, class T, class Traits>
bool Injection<ImageBase<Info, T*, Traits>>::Reset() {
    gains = {};
    ratioGains = {};
    return PanSharp<ImageBase<Info, T*, Traits>>::Reset();
}

template <class Info, class T, class Traits>
bool Injection<ImageBase<Info, T*, Traits>>::Init(InputImage* multispectral, InputImage* pan) {
    if (!this->PrepareInit(multispectral, pan)) return false;
    this->bandWeights = this->ReadBandNumbers("BandWeight", 1.0 / this->msBandCount, 0.0);
    this->ReadAdditionalBandWeight();
    gains = this->ReadBandNumbers("InjectionGain", 1.0, 1.0);
    ratioGains = this->ReadBandNumbers("InjectionRatioGain", 0.0, 0.0);
    const std::string limit = Fundament::Trim(this->properties["InjectionLimit"]);
    injectionGains = {.gains = gains.data(),
                      .ratioGains = ratioGains.data(),
                      .limit = Fundament::StringToDouble(limit, std::numeric_limits<double>::infinity()),
                      .floor = Fundament::StringToDouble(this->properties["InjectionFloor"], 0.0)};
    this->FinishInit(kernels::InjectionRowFor<T>(this->simd.Get()), &injectionGains);
    this->PublishBands();
    if (this->metadataEnabled) {
        this->metadata["injectionGains"] = NumberList(gains);
        this->metadata["injectionRatioGains"] = NumberList(ratioGains);
    }
    return true;
}

template class Injection<Image<unsigned char>>;
template class Injection<Image<unsigned short>>;

} // namespace PXL
