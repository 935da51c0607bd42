#include "rasterhost/ProcessSettings.h"

#include "fundament/Text.h"
#include "rasterhost/BandWeights.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StringsEqual;

namespace {

/// True when a method reads weights of the multispectral bands.
bool WeighsBands(const PansharpMethod& method) {
    return std::any_of(
        method.properties, method.properties + method.propertyCount,
        [](const PansharpProperty& property) { return StringsEqual(property.name, "BandWeight-N", true); });
}

bool SetWeights(const SharpenRequest& request, const Scene& scene, const PansharpMethod& method,
                PropertyTexts& properties, Status& status) {
    const std::size_t bands = scene.bandOrder.size();
    if (!WeighsBands(method))
        return request.weights.empty() ||
               Fail(status, HostStatus::RequestInvalid,
                    FormatString("the method %s weighs no bands; leave the weights out", method.keyword));
    if (!request.weights.empty() && request.weights.size() != bands)
        return Fail(status, HostStatus::RequestInvalid,
                    FormatString("%d weights were given for %d multispectral bands; give one for each",
                                 static_cast<int>(request.weights.size()), static_cast<int>(bands)));
    std::vector<double> weights(bands, 1.0 / static_cast<double>(bands));
    for (std::size_t band = 0; band < request.weights.size(); ++band) {
        weights[band] = request.weights[scene.bandOrder[band]];
        if (!std::isfinite(weights[band]))
            return Fail(status, HostStatus::RequestInvalid, "a weight is no finite number");
    }
    SetEffectiveWeights(method.keyword, weights, properties);
    return true;
}

const PansharpMethod* FindMethod(const PansharpDescription& plugin, const std::string& keyword,
                                 Status& status) {
    std::string known;
    for (std::uint32_t i = 0; i < plugin.methodCount; ++i) {
        if (StringsEqual(plugin.methods[i].keyword, keyword, true)) return &plugin.methods[i];
        known += (known.empty() ? "" : ", ") + std::string(plugin.methods[i].keyword);
    }
    Fail(status, HostStatus::RequestInvalid,
         FormatString("there is no method '%s'; the plug-in has %s", keyword.c_str(), known.c_str()));
    return nullptr;
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

bool MakeSettings(const SharpenRequest& request, Scene& scene, const PansharpDescription& plugin,
                  ProcessSettings& settings, Status& status) {
    const PansharpMethod* method = FindMethod(plugin, request.method, status);
    if (!method) return false;
    const std::size_t bands = scene.bandOrder.size();
    if (bands < method->minimumBands)
        return Fail(status, HostStatus::RequestInvalid,
                    FormatString("the method %s needs at least %u multispectral bands; %d were given",
                                 method->keyword, method->minimumBands, static_cast<int>(bands)));
    settings.method = method->keyword;
    if (request.bands.empty() && !WeighsBands(*method)) // it makes nothing of more bands than it needs
        scene.outputBands = std::min(scene.outputBands, method->minimumBands);
    PropertyTexts properties;
    SetProperty(properties, "Method", method->keyword);
    SetProperty(properties, "MSImageID", multispectralId);
    SetProperty(properties, "_key_Process_RasterId_", sceneId);
    SetProperty(properties, "outputNBands", FormatString("%u", scene.outputBands));
    SetProperty(properties, "generateMetadata", "true");
    if (!SetWeights(request, scene, *method, properties, status) ||
        !SetRawProperties(request, properties, status))
        return false;
    if (WeighsBands(*method)) {
        const auto weights = FindEffectiveWeights(method->keyword, bands, properties);
        settings.effectiveWeights.resize(bands);
        for (std::size_t band = 0; band < bands; ++band)
            settings.effectiveWeights[scene.bandOrder[band]] = weights[band];
    }
    for (const auto& [key, property] : properties)
        settings.properties[property.first] = property.second;
    return true;
}

} // namespace rasterhost
