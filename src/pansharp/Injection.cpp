#include "pansharp/Injection.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <limits>

namespace PXL {

void ReadInjectionGains(const ParameterTexts& texts, std::span<double> gains) {
    ReadBandValues(texts, 1.0, 1.0, gains);
}

void ReadInjectionRatioGains(const ParameterTexts& texts, std::span<double> gains) {
    ReadBandValues(texts, 0.0, 0.0, gains);
}

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
    const auto& [weightsOfBands, gainsOfBands, ratioGainsOfBands] = injectionParameters;
    this->bandWeights = this->ReadValues(weightsOfBands, this->msBandCount);
    gains = this->ReadValues(gainsOfBands, this->msBandCount);
    ratioGains = this->ReadValues(ratioGainsOfBands, this->msBandCount);
    const auto& [limitOfGains, floorOfIntensity] = injectionScalars;
    const std::string limit = Fundament::Trim(this->properties[limitOfGains.property.name]);
    injectionGains = {.gains = gains.data(),
                      .ratioGains = ratioGains.data(),
                      .limit = Fundament::StringToDouble(limit, std::numeric_limits<double>::infinity()),
                      .floor =
                          Fundament::StringToDouble(this->properties[floorOfIntensity.property.name], 0.0)};
    this->FinishInit(RowFor(this->simd.Get()), &injectionGains);
    this->PublishBands();
    if (this->metadataEnabled) {
        this->metadata["injectionGains"] = NumberList(gains);
        this->metadata["injectionRatioGains"] = NumberList(ratioGains);
    }
    return true;
}

template <class Info, class T, class Traits>
kernels::FuseRow<T> Injection<ImageBase<Info, T*, Traits>>::RowFor(kernels::SimdTarget target) {
    return kernels::InjectionRowFor<T>(target);
}

template class Injection<Image<unsigned char>>;
template class Injection<Image<unsigned short>>;

} // namespace PXL
