#pragma once

#include "pansharp/PanSharp.h"

namespace PXL {

/// Reads the weights from their properties: 1 each, also for a text that is not a number. With four bands or
/// more, if the first three weights are positive, the first four are multiplied by 4, or by 3 if the fourth
/// is not positive. "AdditionalBandWeight" then replaces the weight of the last band, unscaled.
void ReadBroveyWeights(const ParameterTexts& texts, std::span<double> weights);

/// The rule back. Reading gives the weights bit for bit, with one exception: with five bands or more, if the
/// first three weights are above 0 and the fourth is not, the first four are multiplied by 3. A third of the
/// numbers between 1.5 and 2 times a power of two are not a product of 3 in double; such a weight changes in
/// its last bit.
void BroveyWeightsToProperties(const double* weights, std::uint32_t count, std::uint32_t hasAdditional,
                               double* numbers, double* additional);

inline constexpr PansharpBandParameter broveyWeights[] = {
    {{"BandWeight-N", "double", "1",
      "weight of multispectral band N in the simulated pan, before scaling. With four bands or more, and "
      "the first three weights above 0, the first four are scaled by 4; by 3 when the fourth is not above 0"},
     {"AdditionalBandWeight", "double", "",
      "replaces the weight of the last band, the infrared one when there is one; it is not scaled"},
     -unbounded,
     unbounded,
     PansharpFit::Share,
     &BroveyWeightsToProperties,
     &FromProperties<ReadBroveyWeights>}};

inline constexpr PansharpMethod broveyMethod = {
    .keyword = "Brovey",
    .summary = "multiplies every band by the ratio of pan to a weighted sum of the bands",
    .formula = "out[c] = ms[c] * (pan / sum of ms[b] * weight[b]), truncated",
    .advice =
        "keeps the ratios between the bands, and so hue and saturation, when the weights make the sum as "
        "bright as pan; with weights of 1 it darkens",
    .minimumBands = 1,
    .fusedBands = 0,
    .isRecommended = 0,
    .additionalBand = PansharpAdditionalBand::Infrared,
    .bandParameterCount = std::size(broveyWeights),
    .bandParameters = broveyWeights,
    .scalarParameterCount = 0,
    .scalarParameters = nullptr};

template <class Base>
class Brovey;

/// The method "Brovey" (kernels/BroveyRow.h).
template <class Info, class T, class Traits>
class Brovey<ImageBase<Info, T*, Traits>> final : public PanSharp<ImageBase<Info, T*, Traits>> {
public:
    using typename PanSharp<ImageBase<Info, T*, Traits>>::InputImage;

    Brovey();
    ~Brovey() override;

    /// Reads "outputNBands" (default 3) and the weights. Publishes no metadata.
    bool Init(InputImage* multispectral, InputImage* pan) override;
    bool Reset() override; ///< leaves an empty item with id 0 in the status

    static kernels::FuseRow<T> RowFor(kernels::SimdTarget target);
};

template <class T>
using BroveyImage = Brovey<Image<T>>;
using Brovey8 = BroveyImage<unsigned char>;
using Brovey16 = BroveyImage<unsigned short>;

} // namespace PXL
