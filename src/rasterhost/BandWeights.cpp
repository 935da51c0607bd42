#include "rasterhost/BandWeights.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace rasterhost {

using namespace KOVA::Tessara::Fundament;

namespace {

constexpr std::size_t scaledBands = 4;

bool IsBrovey(const std::string& method) { return StringsEqual(method, "Brovey", true); }

/// What Brovey multiplies the first four weights by. It only asks which of them are above 0, so that scaled
/// and unscaled weights give the same answer.
double BroveyScale(const std::vector<double>& weights) {
    if (weights.size() < scaledBands || !(weights[0] > 0.0 && weights[1] > 0.0 && weights[2] > 0.0))
        return 1.0;
    return weights[3] > 0.0 ? 4.0 : 3.0;
}

std::string WeightName(std::size_t band) {
    return FormatString("BandWeight-%lu", static_cast<unsigned long>(band) + 1);
}

std::string ValueOf(const PropertyTexts& properties, const std::string& name) {
    const auto property = properties.find(ToLower(name));
    return property == properties.end() ? std::string() : Trim(property->second.second);
}

} // namespace

void SetProperty(PropertyTexts& properties, const std::string& name, const std::string& value) {
    properties[ToLower(name)] = {name, value};
}

std::optional<double> FindAdditionalBandWeight(const PropertyTexts& properties) {
    const std::string text = ValueOf(properties, "AdditionalBandWeight");
    return text.empty() ? std::nullopt : std::optional(StringToDouble(text, 0.0));
}

std::vector<double> FindEffectiveWeights(const std::string& method, std::size_t bands,
                                         const PropertyTexts& properties) {
    const bool isBrovey = IsBrovey(method);
    std::vector<double> weights(bands);
    for (std::size_t band = 0; band < bands; ++band) {
        const std::string text = ValueOf(properties, WeightName(band));
        const double whenMissing = isBrovey ? 1.0 : 1.0 / static_cast<double>(bands);
        weights[band] = text.empty() ? whenMissing : StringToDouble(text, isBrovey ? 1.0 : 0.0);
    }
    if (isBrovey) {
        const double scale = BroveyScale(weights);
        for (std::size_t band = 0; band < std::min(bands, scaledBands); ++band)
            weights[band] *= scale;
    }
    if (const auto last = FindAdditionalBandWeight(properties); last && bands > 0) weights.back() = *last;
    return weights;
}

std::string NumberText(double number) {
    std::array<char, 40> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end.ptr};
}

} // namespace rasterhost
