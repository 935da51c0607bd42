#include "hostkit/EffectiveWeights.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/MethodTable.h"

#include <cmath>
#include <numeric>
#include <utility>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;
using KOVA::Tessara::Fundament::PropertyLookUp;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;

namespace {

bool Refuse(Status& status, const std::string& message) {
    status.Add(HostKitStatus::WeightsInvalid, message, "Host.EffectiveWeights");
    return false;
}

bool RefuseInfraredWeight(Status& status) {
    return Refuse(status, "a weight of the infrared band is given, but there is no infrared band; leave it "
                          "out or add the band");
}

bool CheckWeights(const WeightedBands& bands, const EffectiveWeights& weights, Status& status) {
    if (!weights.bands.empty() && weights.bands.size() != bands.multispectral)
        return Refuse(status, FormatString("%zu weights are given for %u multispectral bands; give one for "
                                           "each, in the order of the bands",
                                           weights.bands.size(), bands.multispectral));
    for (std::size_t b = 0; b < weights.bands.size(); ++b)
        if (!std::isfinite(weights.bands[b]))
            return Refuse(status, FormatString("the weight of band %zu is not a finite number", b + 1));
    if (weights.infrared && !std::isfinite(*weights.infrared))
        return Refuse(status, "the weight of the infrared band is not a finite number");
    return true;
}

/// All weights in the order of the sum, the infrared one last.
bool JoinWeights(const WeightedBands& bands, const EffectiveWeights& weights, std::vector<double>& all,
                 Status& status) {
    if (weights.infrared && !bands.infrared) return RefuseInfraredWeight(status);
    if (bands.infrared && !weights.bands.empty() && !weights.infrared)
        return Refuse(status, "the multispectral bands have weights, but the infrared band has none; give it "
                              "one, or 0 if it has no part in pan");
    const std::size_t count = std::size_t{bands.multispectral} + (bands.infrared ? 1 : 0);
    all = weights.bands;
    if (all.empty()) all.assign(bands.multispectral, 1.0 / static_cast<double>(count));
    if (bands.infrared) all.push_back(weights.infrared.value_or(1.0 / static_cast<double>(count)));
    return true;
}

std::vector<double> ReadBack(const PansharpBandParameter& parameter, std::size_t count,
                             const NameValueMap& properties) {
    PropertyLookUp asRead;
    KOVA::Tessara::Pixmere::NameValueMapToPropertyLookUp(properties, asRead);
    return ReadValues(parameter, count, asRead);
}

/// The case in which pan's low-pass is the simulated pan.
bool SetLowPass(const PansharpMethod& method, const WeightedBands& bands, const EffectiveWeights& weights,
                NameValueMap& properties, Status& status) {
    if (bands.infrared || weights.infrared || !weights.bands.empty())
        return Refuse(status, FormatString("the method %s compares pan with its low-pass; leave weights and "
                                           "infrared band out or choose another method",
                                           method.keyword));
    const PansharpBandParameter* shares = FindParameter(method, PansharpFit::Share);
    std::vector<double> values(std::size_t{bands.multispectral} + 1, 0.0);
    values.back() = 1.0;
    return !shares || SetValues(*shares, values, true, properties, status);
}

/// The case of a method that weighs no bands.
bool SetInfraredWeight(const PansharpMethod& method, const WeightedBands& bands, EffectiveWeights& weights,
                       NameValueMap& properties, Status& status) {
    if (!weights.bands.empty())
        return Refuse(status, FormatString("the method %s has no weights of the multispectral bands; leave "
                                           "them out or choose another method",
                                           method.keyword));
    const bool hasOwn = method.fusedBands != 0 && bands.multispectral > method.fusedBands;
    if (weights.infrared && !bands.infrared && !hasOwn) return RefuseInfraredWeight(status);
    const PansharpBandParameter* parameter = FindInfraredWeight(method);
    if (weights.infrared && !parameter)
        return Refuse(status, FormatString("the method %s has no weight of the infrared band; leave it out "
                                           "or choose another method",
                                           method.keyword));
    if (bands.infrared && hasOwn && weights.infrared.value_or(0.0) != 0.0)
        return Refuse(status, FormatString("the method %s takes band %u for the infrared one; with an "
                                           "infrared image give it %u multispectral bands, not %u",
                                           method.keyword, method.fusedBands + 1, method.fusedBands,
                                           bands.multispectral));
    if (weights.infrared && !SetValues(*parameter, {*weights.infrared}, true, properties, status))
        return false;
    if (parameter) weights.infrared = ReadBack(*parameter, 1, properties).front();
    return true;
}

} // namespace

const PansharpBandParameter* FindInfraredWeight(const PansharpMethod& method) {
    for (std::uint32_t i = 0; i < method.bandParameterCount; ++i)
        if (const PansharpBandParameter& parameter = method.bandParameters[i];
            !parameter.band.name && parameter.additional.name)
            return &parameter;
    return nullptr;
}

std::string FindFault(const PansharpMethod& method, const EffectiveWeights& weights) {
    const double sum =
        std::accumulate(weights.bands.begin(), weights.bands.end(), weights.infrared.value_or(0.0));
    if (!WeighsBands(method) || sum > 0.0) return {};
    return FormatString(
        "the weights of the bands add up to %s, so there is no simulated pan; give weights with "
        "a sum above 0, or of about 1 if bands and pan are on one scale",
        NumberText(sum).c_str());
}

bool SetWeights(const PansharpMethod& method, const WeightedBands& bands, EffectiveWeights& weights,
                NameValueMap& properties, Status& status) {
    if (bands.multispectral == 0) return Refuse(status, "there are no multispectral bands to weigh");
    if (!CheckWeights(bands, weights, status)) return false;
    if (bands.lowPass) return SetLowPass(method, bands, weights, properties, status);
    const PansharpBandParameter* shares = FindParameter(method, PansharpFit::Share);
    if (!shares) return SetInfraredWeight(method, bands, weights, properties, status);
    std::vector<double> all;
    if (!JoinWeights(bands, weights, all, status) ||
        !SetValues(*shares, all, bands.infrared, properties, status))
        return false;
    all = ReadBack(*shares, all.size(), properties);
    if (bands.infrared) {
        weights.infrared = all.back();
        all.pop_back();
    }
    weights.bands = std::move(all);
    return true;
}

} // namespace hostkit
