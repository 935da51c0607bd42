#pragma once

#include "kernels/IhsRow.h"
#include "pansharp/PanSharp.h"

namespace PXL {

/// Reads the weight of the infrared band, a single value: 0 without a text, also for a text that is not a
/// number.
void ReadIhsWeight(const ParameterTexts& texts, std::span<double> weight);

inline constexpr PansharpBandParameter ihsWeights[] = {
    {noProperty,
     {"AdditionalBandWeight", "double", "0",
      "share of the fourth band, the infrared one, that is subtracted from pan"},
     -unbounded,
     unbounded,
     PansharpFit::None,
     &ToProperties,
     &FromProperties<ReadIhsWeight>}};

inline constexpr PansharpMethod ihsMethod = {
    .keyword = "IHS",
    .summary = "gives pan the hue and saturation of the first three bands",
    .formula =
        "the largest of three bands becomes pan - infrared * weight, the others keep their ratio to it",
    .advice = "vivid pictures of three bands; it replaces the largest of them by pan and so darkens, and its "
              "fourth output band is not usable as infrared",
    .minimumBands = kernels::ihsFewestBands,
    .fusedBands = kernels::ihsFewestBands,
    .isRecommended = 0,
    .additionalBand = PansharpAdditionalBand::Infrared,
    .bandParameterCount = std::size(ihsWeights),
    .bandParameters = ihsWeights,
    .scalarParameterCount = 0,
    .scalarParameters = nullptr};

template <class Base>
class IHS;

/// The method "IHS" (kernels/IhsRow.h). The first three multispectral bands are red, green and blue; band
/// index 3, if there is one, is infrared.
template <class Info, class T, class Traits>
class IHS<ImageBase<Info, T*, Traits>> final : public PanSharp<ImageBase<Info, T*, Traits>> {
public:
    using typename PanSharp<ImageBase<Info, T*, Traits>>::InputImage;

    IHS();
    ~IHS() override;

    /// Reads "outputNBands" (default 3) and the infrared weight. Fails with fewer than three multispectral
    /// bands. Publishes no metadata.
    bool Init(InputImage* multispectral, InputImage* pan) override;
    bool Reset() override; ///< leaves an empty item with id 0 in the status

    static kernels::FuseRow<T> RowFor(kernels::SimdTarget target);
};

template <class T>
using IHSImage = IHS<Image<T>>;
using IHS8 = IHSImage<unsigned char>;
using IHS16 = IHSImage<unsigned short>;

} // namespace PXL
