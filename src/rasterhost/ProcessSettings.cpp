#include "rasterhost/ProcessSettings.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "hostkit/EffectiveWeights.h"
#include "rasterhost/BandWeights.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Fundament::StringToUnsignedLong;

namespace {

/// True when a method reads weights of the multispectral bands.
bool WeighsBands(const PansharpMethod& method) {
    return std::any_of(
        method.properties, method.properties + method.propertyCount,
        [](const PansharpProperty& property) { return StringsEqual(property.name, "BandWeight-N", true); });
}

/// The weights of the request as properties of the process, whose bands are in another order.
bool SetWeights(const SharpenRequest& request, const Scene& scene, const std::string& method,
                PropertyTexts& properties, Status& status) {
    hostkit::EffectiveWeights weights{request.weights, request.infraredWeight};
    const std::size_t bands = scene.bandOrder.size();
    if (request.weights.size() == bands)
        for (std::size_t band = 0; band < bands; ++band)
            weights.bands[band] = request.weights[scene.bandOrder[band]];
    KOVA::Tessara::Global::NameValueMap texts;
    if (!hostkit::SetWeights(method, {static_cast<std::uint32_t>(bands), scene.HasInfrared()}, weights, texts,
                             status))
        return false;
    for (const auto& [name, value] : texts)
        SetProperty(properties, name, value);
    return true;
}

/// The weights as the process will find them, raw properties included, in the order of the request.
void FillWeights(const Scene& scene, const PansharpMethod& method, const PropertyTexts& properties,
                 ProcessSettings& settings) {
    const std::size_t bands = scene.bandOrder.size();
    const std::size_t all = scene.CountBands();
    if (!WeighsBands(method)) {
        if (scene.HasInfrared()) settings.infraredWeight = FindAdditionalBandWeight(properties).value_or(0.0);
        return;
    }
    const auto weights = FindEffectiveWeights(method.keyword, all, properties);
    settings.effectiveWeights.resize(bands);
    for (std::size_t band = 0; band < bands; ++band)
        settings.effectiveWeights[scene.bandOrder[band]] = weights[band];
    if (scene.HasInfrared()) settings.infraredWeight = weights.back();
}

/// Raw weights of bands that are not there would pass unnoticed, and weights whose sum is 0 or below leave
/// nothing of the simulated pan.
bool CheckWeights(const FusionRequest& request, const ProcessSettings& settings, Status& status) {
    if (settings.effectiveWeights.empty()) return true;
    const std::size_t bands = settings.effectiveWeights.size() + (settings.infraredWeight ? 1 : 0);
    const std::string stem = "BandWeight-";
    for (const auto& [name, value] : request.properties) {
        if (!StartsWith(name, stem, true)) continue;
        const std::uint32_t band = StringToUnsignedLong(name.substr(stem.size()), 0);
        if (band < 1 || band > bands)
            return Fail(status, HostStatus::RequestInvalid,
                        FormatString("the property %s weighs a band that is not there; the weights are "
                                     "BandWeight-1 to BandWeight-%lu",
                                     name.c_str(), static_cast<unsigned long>(bands)));
    }
    return settings.GetWeightSum() > 0.0 ||
           Fail(status, HostStatus::RequestInvalid,
                FormatString("the weights of the bands add up to %s, so that nothing simulates pan; give "
                             "weights with a sum above 0, about 1 where bands and pan are on one scale",
                             NumberText(settings.GetWeightSum()).c_str()));
}

/// IHS makes nothing of more bands than its three, and takes the fourth for the infrared one.
bool FitBands(const SharpenRequest& request, const PansharpMethod& method, Scene& scene, Status& status) {
    if (scene.bandOrder.size() < method.minimumBands)
        return Fail(status, HostStatus::RequestInvalid,
                    FormatString("the method %s needs at least %u multispectral bands; %d were given",
                                 method.keyword, method.minimumBands,
                                 static_cast<int>(scene.bandOrder.size())));
    if (WeighsBands(method)) return true;
    if (request.bands.empty()) scene.outputBands = std::min(scene.outputBands, method.minimumBands);
    if (!scene.HasInfrared() || scene.bandOrder.size() == method.minimumBands) return true;
    if (scene.outputBands > method.minimumBands)
        return Fail(
            status, HostStatus::RequestInvalid,
            FormatString("the method %s writes %u bands beside an infrared one; name so many with --bands",
                         method.keyword, method.minimumBands));
    scene.KeepFirstBands(method.minimumBands);
    return true;
}

bool SetRawProperties(const SharpenRequest& request, PropertyTexts& properties, Status& status) {
    constexpr std::array kept = {"MSImageID",  "AdditionalBandID", "_key_Process_RasterId_",
                                 "ReSampleMS", "ReSampleIR",       "outputNBands",
                                 "Method"};
    for (const auto& [name, value] : request.properties) {
        for (const char* own : kept)
            if (StringsEqual(name, own, true))
                return Fail(status, HostStatus::RequestInvalid,
                            FormatString("the property '%s' cannot be set: this program sets it from its "
                                         "inputs and options",
                                         name.c_str()));
        SetProperty(properties, name, value);
    }
    return true;
}

} // namespace

double ProcessSettings::GetWeightSum() const {
    return std::accumulate(effectiveWeights.begin(), effectiveWeights.end(), infraredWeight.value_or(0.0));
}

bool WantsFit(const SharpenRequest& request, const PansharpDescription& plugin) {
    if (request.weightSource != WeightSource::Fit || !request.weights.empty()) return false;
    for (const auto& [name, value] : request.properties)
        if (StartsWith(name, "BandWeight-", true) || StringsEqual(name, "AdditionalBandWeight", true))
            return false;
    Status unknown; // MakeSettings says what is wrong with the method
    const PansharpMethod* method = hostkit::FindMethod(plugin, request.method, unknown);
    return method && WeighsBands(*method);
}

bool MakeSettings(const SharpenRequest& request, Scene& scene, const PansharpDescription& plugin,
                  ProcessSettings& settings, Status& status) {
    const PansharpMethod* method = hostkit::FindMethod(plugin, request.method, status);
    if (!method || !FitBands(request, *method, scene, status)) return false;
    settings.method = method->keyword;
    PropertyTexts properties;
    SetProperty(properties, "Method", method->keyword);
    SetProperty(properties, "MSImageID", multispectralId);
    SetProperty(properties, "AdditionalBandID", scene.HasInfrared() ? infraredId : "");
    SetProperty(properties, "_key_Process_RasterId_", sceneId);
    SetProperty(properties, "outputNBands", FormatString("%u", scene.outputBands));
    SetProperty(properties, "generateMetadata", "true");
    if (!SetWeights(request, scene, method->keyword, properties, status) ||
        !SetRawProperties(request, properties, status))
        return false;
    FillWeights(scene, *method, properties, settings);
    if (!CheckWeights(request, settings, status)) return false;
    for (const auto& [key, property] : properties)
        settings.properties[property.first] = property.second;
    return true;
}

} // namespace rasterhost
