#include "rasterhost/fusing/ProcessSettings.h"

#include "fundament/Numbers.h"
#include "fundament/PropertyLookUp.h"
#include "fundament/Text.h"
#include "host/PropertyNames.h"
#include "hostkit/EffectiveWeights.h"
#include "hostkit/MethodTable.h"
#include "hostkit/WindowWorker.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <span>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::PropertyLookUp;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Fundament::StringToUnsignedLong;
namespace PropertyNames = KOVA::Tessara::PropertyNames;

namespace {

/// Only methods that compare pan with its low-pass accept blur and gains.
bool CheckDetail(const FusionRequest& request, const Scene& scene, const PansharpMethod& method,
                 Status& status) {
    if (!request.transfer && request.gains.empty()) return true;
    if (hostkit::UsesLowPass(method)) {
        const std::string fault =
            fitting::FindFault({request.transfer, request.gains}, scene.bandOrder.size());
        return fault.empty() || Fail(status, HostStatus::RequestInvalid, fault);
    }
    return Fail(status, HostStatus::RequestInvalid,
                "the method %s does not compare pan with its low-pass: it has neither a modulation transfer "
                "nor gains; leave them out or choose another method",
                method.keyword);
}

/// Sets the gains as properties, in the order of the process.
bool SetGains(const Scene& scene, std::size_t bands, const PansharpMethod& method, const DetailFit& detail,
              KOVA::Tessara::Global::NameValueMap& texts, Status& status) {
    std::vector<double> gains, ratioGains;
    for (const std::size_t band : std::span(scene.bandOrder).first(bands)) {
        if (band >= detail.gains.size())
            return Fail(status, HostStatus::RequestInvalid, "there are gains for only %zu bands",
                        detail.gains.size());
        gains.push_back(detail.gains[band].gain);
        ratioGains.push_back(detail.gains[band].ratioGain);
    }
    return hostkit::SetGains(method, gains, ratioGains, texts, status);
}

/// Sets the weights of the request as properties, in the process's order of bands, and what the method needs
/// of pan's detail.
bool SetParameters(const SharpenRequest& request, const Scene& scene, std::size_t bands,
                   const PansharpMethod& method, const DetailFit* detail, PropertyLookUp& properties,
                   Status& status) {
    hostkit::EffectiveWeights weights{request.weights, request.infraredWeight};
    if (request.weights.size() == bands)
        for (std::size_t band = 0; band < bands; ++band)
            weights.bands[band] = request.weights[scene.bandOrder[band]];
    KOVA::Tessara::Global::NameValueMap texts;
    const hostkit::WeightedBands weighed{static_cast<std::uint32_t>(bands), scene.HasInfrared(),
                                         hostkit::UsesLowPass(method)};
    if (!hostkit::SetWeights(method, weighed, weights, texts, status)) return false;
    if (detail && !SetGains(scene, bands, method, *detail, texts, status)) return false;
    hostkit::SetScalars(method, detail ? std::optional(detail->lowPassMean) : std::nullopt, texts);
    for (const auto& [name, value] : texts)
        properties[name] = value;
    return true;
}

/// Reads back the weights that the process will use, including raw properties, in the order of the request.
void FillWeights(const Scene& scene, const PansharpMethod& method, const PropertyLookUp& properties,
                 ProcessSettings& settings) {
    if (hostkit::UsesLowPass(method)) return;
    const auto* shares = hostkit::FindParameter(method, PansharpFit::Share);
    if (!shares) {
        const auto* infrared = hostkit::FindInfraredWeight(method);
        if (scene.HasInfrared() && infrared)
            settings.infraredWeight = hostkit::ReadValues(*infrared, 1, properties).front();
        return;
    }
    const std::size_t bands = settings.bands;
    const auto weights = hostkit::ReadValues(*shares, bands + (scene.HasInfrared() ? 1 : 0), properties);
    settings.effectiveWeights.resize(bands);
    for (std::size_t band = 0; band < bands; ++band)
        settings.effectiveWeights[scene.bandOrder[band]] = weights[band];
    if (scene.HasInfrared()) settings.infraredWeight = weights.back();
}

/// Raw weights of missing bands would have no effect unnoticed, and weights whose sum is 0 or below do not
/// make a simulated pan.
bool CheckWeights(const FusionRequest& request, const PansharpMethod& method, const ProcessSettings& settings,
                  Status& status) {
    const auto* shares = hostkit::FindParameter(method, PansharpFit::Share);
    if (!shares || hostkit::UsesLowPass(method)) return true;
    const std::size_t bands = settings.effectiveWeights.size() + (settings.infraredWeight ? 1 : 0);
    const std::string first = PropertyNames::OfBand(shares->band, 0);
    const std::string stem = first.substr(0, first.size() - 1);
    for (const auto& [name, value] : request.properties) {
        if (!StartsWith(name, stem, true)) continue;
        const std::uint32_t band = StringToUnsignedLong(name.substr(stem.size()), 0);
        if (band < 1 || band > bands)
            return Fail(status, HostStatus::RequestInvalid,
                        "the property %s weighs a band that does not exist; the weights are %s to %s",
                        name.c_str(), first.c_str(), PropertyNames::OfBand(shares->band, bands - 1).c_str());
    }
    const std::string fault =
        hostkit::FindFault(method, {settings.effectiveWeights, settings.infraredWeight});
    return fault.empty() || Fail(status, HostStatus::RequestInvalid, fault);
}

/// A method with a fixed number of bands takes the band after them as infrared and ignores further ones.
bool FitBands(const SharpenRequest& request, const PansharpMethod& method, const Scene& scene,
              ProcessSettings& settings, Status& status) {
    settings.bands = scene.bandOrder.size();
    settings.outputBands = scene.outputBands;
    if (settings.bands < method.minimumBands)
        return Fail(status, HostStatus::RequestInvalid,
                    "the method %s needs at least %u multispectral bands; %d were given", method.keyword,
                    method.minimumBands, static_cast<int>(settings.bands));
    constexpr std::size_t mostBesideLowPass = 4095; // of 4096
    if (hostkit::UsesLowPass(method) && settings.bands > mostBesideLowPass)
        return Fail(status, HostStatus::RequestInvalid,
                    "the method %s fuses %lu bands at most, because pan's low-pass takes the place of one; "
                    "name those to fuse, as in FILE,band=1, or choose another method with --method",
                    method.keyword, static_cast<unsigned long>(mostBesideLowPass));
    if (method.fusedBands == 0) return true;
    if (request.bands.empty()) settings.outputBands = std::min(settings.outputBands, method.fusedBands);
    if (!scene.HasInfrared() || settings.bands <= method.fusedBands) return true;
    if (settings.outputBands > method.fusedBands)
        return Fail(
            status, HostStatus::RequestInvalid,
            "the method %s writes %u bands when there is an infrared band; name that many with --bands",
            method.keyword, method.fusedBands);
    settings.bands = method.fusedBands;
    return true;
}

bool SetRawProperties(const SharpenRequest& request, PropertyLookUp& properties, Status& status) {
    using namespace KOVA::Tessara::PropertyNames;
    constexpr std::array kept = {multispectralImage,    additionalImage,    processRaster, outputBands,
                                 resampleMultispectral, resampleAdditional, method};
    for (const auto& [name, value] : request.properties) {
        for (const char* own : kept)
            if (StringsEqual(name, own, true))
                return Fail(status, HostStatus::RequestInvalid,
                            "the property '%s' cannot be set: this program sets it from its "
                            "inputs and options%s",
                            name.c_str(),
                            StringsEqual(name, method, true) ? "; choose the method with --method" : "");
        properties[name] = value;
    }
    return true;
}

} // namespace

double ProcessSettings::GetWeightSum() const {
    return std::accumulate(effectiveWeights.begin(), effectiveWeights.end(), infraredWeight.value_or(0.0));
}

void ProcessSettings::Narrow(Scene& scene) const {
    scene.outputBands = outputBands;
    if (bands < scene.bandOrder.size()) scene.KeepFirstBands(static_cast<std::uint32_t>(bands));
}

bool WantsFit(const SharpenRequest& request, const PansharpDescription& plugin) {
    if (request.weightSource != WeightSource::Fit || !request.weights.empty()) return false;
    Status unknown; // MakeSettings reports what is wrong with the method
    const PansharpMethod* method = hostkit::FindMethod(plugin, request.method, unknown);
    const auto* shares = method && !hostkit::UsesLowPass(*method)
                             ? hostkit::FindParameter(*method, PansharpFit::Share)
                             : nullptr;
    return shares && std::none_of(request.properties.begin(), request.properties.end(), [&](const auto& raw) {
               return hostkit::IsNamed(shares->band, raw.first) ||
                      hostkit::IsNamed(shares->additional, raw.first);
           });
}

bool WantsDetail(const SharpenRequest& request, const PansharpDescription& plugin) {
    Status unknown;
    const PansharpMethod* method = hostkit::FindMethod(plugin, request.method, unknown);
    return method && hostkit::UsesLowPass(*method);
}

bool MakeSettings(const SharpenRequest& request, const Scene& scene, const PansharpDescription& plugin,
                  const DetailFit* detail, ProcessSettings& settings, Status& status) {
    settings = {};
    const PansharpMethod* method = hostkit::FindMethod(plugin, request.method, status);
    if (!method || !FitBands(request, *method, scene, settings, status) ||
        !CheckDetail(request, scene, *method, status))
        return false;
    settings.method = method->keyword;
    PropertyLookUp properties;
    properties[PropertyNames::method] = method->keyword;
    properties[PropertyNames::multispectralImage] = hostkit::multispectralId;
    properties[PropertyNames::additionalImage] = hostkit::UsesLowPass(*method) ? hostkit::lowPassId
                                                 : scene.HasInfrared()         ? hostkit::infraredId
                                                                               : "";
    properties[PropertyNames::processRaster] = hostkit::sceneId;
    properties[PropertyNames::outputBands] = FormatString("%u", settings.outputBands);
    properties[PropertyNames::generateMetadata] = "true";
    if (!SetParameters(request, scene, settings.bands, *method, detail, properties, status) ||
        !SetRawProperties(request, properties, status))
        return false;
    if (hostkit::UsesLowPass(*method) && detail)
        settings.lowPass = std::make_shared<hostkit::PanLowPass>(
            scene.pan->GetInfo(), scene.GetMultispectral().GetInfo(), detail->transfer);
    FillWeights(scene, *method, properties, settings);
    if (!CheckWeights(request, *method, settings, status)) return false;
    for (std::uint32_t i = 0; i < properties.GetCount(); ++i) {
        const auto [name, value] = properties.GetAt(i);
        settings.properties[name] = value;
    }
    return true;
}

} // namespace rasterhost
