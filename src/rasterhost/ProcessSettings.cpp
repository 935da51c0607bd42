#include "rasterhost/ProcessSettings.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <utility>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Fundament::ToLower;

namespace {

/// Properties by name in lower case, since the process reads them in any letter case.
using Properties = std::map<std::string, std::pair<std::string, std::string>>;

void Set(Properties& properties, const std::string& name, const std::string& value) {
    properties[ToLower(name)] = {name, value};
}

std::string WeightName(std::size_t band) {
    return FormatString("BandWeight-%lu", static_cast<unsigned long>(band) + 1);
}

bool SetWeights(const SharpenRequest& request, const Scene& scene, Properties& properties, Status& status) {
    const std::size_t bands = scene.bandOrder.size();
    if (!request.weights.empty() && request.weights.size() != bands)
        return Fail(status, HostStatus::RequestInvalid,
                    FormatString("%d weights were given for %d multispectral bands; give one for each",
                                 static_cast<int>(request.weights.size()), static_cast<int>(bands)));
    for (std::size_t band = 0; band < bands; ++band) {
        const double weight = request.weights.empty() ? 1.0 / static_cast<double>(bands)
                                                      : request.weights[scene.bandOrder[band]];
        if (!std::isfinite(weight))
            return Fail(status, HostStatus::RequestInvalid, "a weight is no finite number");
        Set(properties, WeightName(band), NumberText(weight));
    }
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

bool SetRawProperties(const SharpenRequest& request, Properties& properties, Status& status) {
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
        Set(properties, name, value);
    }
    return true;
}

} // namespace

std::string NumberText(double number) {
    std::array<char, 40> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end.ptr};
}

bool MakeSettings(const SharpenRequest& request, const Scene& scene, const PansharpDescription& plugin,
                  ProcessSettings& settings, Status& status) {
    const PansharpMethod* method = FindMethod(plugin, request.method, status);
    if (!method) return false;
    const std::size_t bands = scene.bandOrder.size();
    if (bands < method->minimumBands)
        return Fail(status, HostStatus::RequestInvalid,
                    FormatString("the method %s needs at least %u multispectral bands; %d were given",
                                 method->keyword, method->minimumBands, static_cast<int>(bands)));
    settings.method = method->keyword;
    Properties properties;
    Set(properties, "Method", method->keyword);
    Set(properties, "MSImageID", multispectralId);
    Set(properties, "_key_Process_RasterId_", sceneId);
    Set(properties, "outputNBands", FormatString("%u", scene.outputBands));
    Set(properties, "generateMetadata", "true");
    if (!SetWeights(request, scene, properties, status) || !SetRawProperties(request, properties, status))
        return false;
    settings.effectiveWeights.resize(bands);
    for (std::size_t band = 0; band < bands; ++band)
        settings.effectiveWeights[scene.bandOrder[band]] =
            KOVA::Tessara::Fundament::StringToDouble(properties[ToLower(WeightName(band))].second, 0.0);
    for (const auto& [key, property] : properties)
        settings.properties[property.first] = property.second;
    return true;
}

} // namespace rasterhost
