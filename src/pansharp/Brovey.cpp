#include "pansharp/Brovey.h"

#include "kernels/BroveyRow.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace PXL {

namespace {

constexpr std::size_t scaledBands = 4;

/// The factor of the first four weights. It only asks which of them are above 0, so scaled and unscaled
/// weights give the same factor.
double FindScale(std::span<const double> weights) {
    if (weights.size() < scaledBands || !(weights[0] > 0.0 && weights[1] > 0.0 && weights[2] > 0.0))
        return 1.0;
    return weights[3] > 0.0 ? 4.0 : 3.0;
}

/// The number that gives `weight` when it is multiplied by `scale`, or the nearest one. It is above 0 when
/// the weight is, since the scale depends on that.
double Unscale(double weight, double scale) {
    double raw = weight / scale;
    if (weight > 0.0) raw = std::max(raw, std::numeric_limits<double>::denorm_min());
    for (const double toward : {-HUGE_VAL, HUGE_VAL}) {
        const double neighbour = std::nextafter(raw, toward);
        if (raw * scale != weight && neighbour * scale == weight) return neighbour;
    }
    return raw;
}

} // namespace

void ReadBroveyWeights(const ParameterTexts& texts, std::span<double> weights) {
    ReadBandValues(texts, 1.0, 1.0, weights);
    const double scale = FindScale(weights);
    for (double& weight : weights.first(std::min(scaledBands, weights.size())))
        weight *= scale;
    ReadAdditionalValue(texts, weights);
}

void BroveyWeightsToProperties(const double* weights, std::uint32_t count, std::uint32_t hasAdditional,
                               double* numbers, double* additional) {
    ToProperties(weights, count, hasAdditional, numbers, additional);
    const std::span<double> raw(numbers, count);
    // If the last band is the fourth, its weight is replaced afterwards. Any weight above 0 in its place
    // makes the scale 4, and a division by 4 is exact.
    const bool isLastScaled = count == scaledBands && FindScale(raw) != 1.0;
    if (isLastScaled) *additional = weights[count - 1];
    const bool isLastReplaced = hasAdditional || isLastScaled;
    if (isLastReplaced) raw.back() = 1.0;
    const double scale = FindScale(raw);
    const std::size_t unscaled = count - (isLastReplaced ? 1 : 0);
    for (double& number : raw.first(std::min(scaledBands, unscaled)))
        number = Unscale(number, scale);
}

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
    this->bandWeights = this->ReadValues(broveyWeights[0], this->msBandCount);
    this->FinishInit(RowFor(this->simd.Get()));
    return true;
}

template <class Info, class T, class Traits>
kernels::FuseRow<T> Brovey<ImageBase<Info, T*, Traits>>::RowFor(kernels::SimdTarget target) {
    return kernels::BroveyRowFor<T>(target);
}

template class Brovey<Image<unsigned char>>;
template class Brovey<Image<unsigned short>>;

} // namespace PXL
