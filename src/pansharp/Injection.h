#pragma once

#include "kernels/InjectionRow.h"
#include "pansharp/PanSharp.h"

namespace PXL {

/// Read the gains from their properties: gains of 1, ratio gains of 0. A text that is not a number counts as
/// missing.
void ReadInjectionGains(const ParameterTexts& texts, std::span<double> gains);
void ReadInjectionRatioGains(const ParameterTexts& texts, std::span<double> gains);

inline constexpr PansharpBandParameter injectionParameters[] = {
    kovaWeights[0],
    {{"InjectionGain-N", "double", "1", "share of the detail that band N takes"},
     noProperty,
     0.0,
     unbounded,
     PansharpFit::Gain,
     &ToProperties,
     &FromProperties<ReadInjectionGains>},
    {{"InjectionRatioGain-N", "double", "0",
      "further share of the detail that band N takes, times the band's ratio to the simulated pan"},
     noProperty,
     0.0,
     unbounded,
     PansharpFit::RatioGain,
     &ToProperties,
     &FromProperties<ReadInjectionRatioGains>}};

inline constexpr PansharpScalarParameter injectionScalars[] = {
    {{"InjectionLimit", "double", "",
      "the most of both shares together, as a multiple of the band ratio; blank for no limit"},
     PansharpSetting::Constant,
     2.0},
    {{"InjectionFloor", "double", "0", "the least simulated pan that a band is divided by for its ratio"},
     PansharpSetting::ShareOfMean,
     0.25}};

inline constexpr PansharpMethod injectionMethod = {
    .keyword = "Injection",
    .summary = "adds a share of pan's detail to every band; the share depends on the band and the pixel",
    .formula = "out[c] = ms[c] + g * (pan - I), I = sum of ms[b] * weight[b], g = gain[c] + ratio gain[c] * "
               "ms[c] / I",
    .advice = "the most faithful: I is pan's low-pass and the gains are fitted to the scene; with its "
              "defaults it is KOVA",
    .minimumBands = 1,
    .fusedBands = 0,
    .isRecommended = 1,
    .additionalBand = PansharpAdditionalBand::LowPass,
    .bandParameterCount = std::size(injectionParameters),
    .bandParameters = injectionParameters,
    .scalarParameterCount = std::size(injectionScalars),
    .scalarParameters = injectionScalars};

template <class Base>
class Injection;

/// The method "Injection" (kernels/InjectionRow.h): KOVA with gains.
template <class Info, class T, class Traits>
class Injection<ImageBase<Info, T*, Traits>> final : public PanSharp<ImageBase<Info, T*, Traits>> {
public:
    using typename PanSharp<ImageBase<Info, T*, Traits>>::InputImage;

    Injection();
    ~Injection() override;

    /// Reads "outputNBands" and weights like KOVA, and the gains, "InjectionLimit" (default none) and
    /// "InjectionFloor" (default 0). For these, a text that is not a number counts as missing, and every
    /// number is accepted. Publishes KOVA's metadata and the gains.
    bool Init(InputImage* multispectral, InputImage* pan) override;
    bool Reset() override;

    static kernels::FuseRow<T> RowFor(kernels::SimdTarget target);

private:
    std::vector<double> gains;
    std::vector<double> ratioGains;
    kernels::InjectionGains injectionGains; ///< points to the gains above
};

template <class T>
using InjectionImage = Injection<Image<T>>;
using Injection8 = InjectionImage<unsigned char>;
using Injection16 = InjectionImage<unsigned short>;

} // namespace PXL
