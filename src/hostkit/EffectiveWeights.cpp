#include "hostkit/EffectiveWeights.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Global::NameValueMap;
using ULong = unsigned long; // what "%lu" takes

namespace {

constexpr const char* additionalBandWeight = "AdditionalBandWeight";
constexpr std::size_t scaledBands = 4;

bool Refuse(Status& status, const std::string& message) {
    status.Add(HostKitStatus::WeightsInvalid, message, "Host.EffectiveWeights");
    return false;
}

/// 17 significant digits read as the same number again.
std::string NumberText(double number) { return FormatString("%.17g", number); }

std::string BandWeightName(std::size_t band) { return FormatString("BandWeight-%lu", ULong{band} + 1); }

bool CheckWeights(const WeightedBands& bands, const EffectiveWeights& weights, Status& status) {
    if (!weights.bands.empty() && weights.bands.size() != bands.multispectral)
        return Refuse(status, FormatString("%lu weights are given for %lu multispectral bands; give one for "
                                           "each, in the order of the bands",
                                           ULong{weights.bands.size()}, ULong{bands.multispectral}));
    for (std::size_t b = 0; b < weights.bands.size(); ++b)
        if (!std::isfinite(weights.bands[b]))
            return Refuse(status, FormatString("the weight of band %lu is no finite number", ULong{b} + 1));
    if (weights.infrared && !std::isfinite(*weights.infrared))
        return Refuse(status, "the weight of the infrared band is no finite number");
    return true;
}

/// The number that comes out as `weight` when it is multiplied by `scale`, or as near to it as can be. Above
/// 0 when the weight is: whether a process scales depends on that.
double UnscaledWeight(double weight, double scale) {
    double raw = weight / scale;
    if (weight > 0.0) raw = std::max(raw, std::numeric_limits<double>::denorm_min());
    for (const double toward : {-HUGE_VAL, HUGE_VAL}) {
        const double neighbour = std::nextafter(raw, toward);
        if (raw * scale != weight && neighbour * scale == weight) return neighbour;
    }
    return raw;
}

/// Brovey multiplies the weights of the first four of more than three bands, when the first three are above
/// 0: by 4, or by 3 when the fourth is not above 0. The text "AdditionalBandWeight" then replaces the last
/// weight and is not scaled. `weights` has them all, the infrared one last.
void SetBroveyWeights(std::vector<double>& weights, bool infrared, NameValueMap& properties) {
    const bool scaled =
        weights.size() >= scaledBands &&
        std::all_of(weights.begin(), weights.begin() + 3, [](double weight) { return weight > 0.0; });
    // Where the last band is the fourth, its weight can be replaced, and any weight above 0 put in its place
    // so that the scale is 4: a division by that is exact.
    const bool lastReplaced = infrared || (scaled && weights.size() == scaledBands);
    const bool scaledBy4 = weights.size() == scaledBands || (scaled && weights[3] > 0.0);
    const double scale = !scaled ? 1.0 : scaledBy4 ? 4.0 : 3.0;
    for (std::size_t b = 0; b < weights.size(); ++b) {
        const bool last = b + 1 == weights.size();
        if (last && lastReplaced) {
            properties[BandWeightName(b)] = "1";
            properties[additionalBandWeight] = NumberText(weights[b]);
            continue;
        }
        const double factor = b < scaledBands ? scale : 1.0;
        const double raw = UnscaledWeight(weights[b], factor);
        properties[BandWeightName(b)] = NumberText(raw);
        weights[b] = raw * factor;
    }
}

void SetKovaWeights(const std::vector<double>& weights, bool infrared, NameValueMap& properties) {
    const std::size_t named = weights.size() - (infrared ? 1 : 0);
    for (std::size_t b = 0; b < named; ++b)
        properties[BandWeightName(b)] = NumberText(weights[b]);
    if (infrared) properties[additionalBandWeight] = NumberText(weights.back());
}

bool SetIhsWeights(const WeightedBands& bands, EffectiveWeights& weights, NameValueMap& properties,
                   Status& status) {
    if (!weights.bands.empty())
        return Refuse(status, "the method IHS has no weights of the multispectral bands; leave them out, or "
                              "choose KOVA or Brovey");
    if (weights.infrared && bands.multispectral + (bands.infrared ? 1 : 0) < scaledBands)
        return Refuse(status, "a weight of the infrared band is given, but there is no infrared band; leave "
                              "it out or add the band");
    if (bands.infrared && bands.multispectral >= scaledBands && weights.infrared.value_or(0.0) != 0.0)
        return Refuse(status,
                      FormatString("the method IHS takes the fourth band for the infrared one; with an "
                                   "infrared image give it three multispectral bands, not %lu",
                                   ULong{bands.multispectral}));
    weights.infrared = weights.infrared.value_or(0.0);
    properties[additionalBandWeight] = NumberText(*weights.infrared);
    return true;
}

/// All weights in the order of the sum, the infrared one last.
bool JoinWeights(const WeightedBands& bands, const EffectiveWeights& weights, std::vector<double>& all,
                 Status& status) {
    if (weights.infrared && !bands.infrared)
        return Refuse(status, "a weight of the infrared band is given, but there is no infrared band; leave "
                              "it out or add the band");
    if (bands.infrared && !weights.bands.empty() && !weights.infrared)
        return Refuse(status,
                      "the multispectral bands have weights, the infrared band has none; give it one, "
                      "0 if it has no part in pan");
    const std::size_t count = std::size_t{bands.multispectral} + (bands.infrared ? 1 : 0);
    all = weights.bands;
    if (all.empty()) all.assign(bands.multispectral, 1.0 / static_cast<double>(count));
    if (bands.infrared) all.push_back(weights.infrared.value_or(1.0 / static_cast<double>(count)));
    return true;
}

} // namespace

const PansharpMethod* FindMethod(const PansharpDescription& plugin, const std::string& keyword,
                                 Status& status) {
    std::string known;
    for (std::uint32_t i = 0; i < plugin.methodCount; ++i) {
        const PansharpMethod& method = plugin.methods[i];
        if (keyword.empty() || StringsEqual(method.keyword, keyword, true)) return &method;
        known += (known.empty() ? "" : ", ") + std::string(method.keyword);
    }
    status.Add(HostKitStatus::NoSuchMethod,
               FormatString("there is no method '%s'; the plug-in has %s", keyword.c_str(), known.c_str()),
               "Host.EffectiveWeights");
    return nullptr;
}

bool SetWeights(const std::string& method, const WeightedBands& bands, EffectiveWeights& weights,
                NameValueMap& properties, Status& status) {
    if (bands.multispectral == 0) return Refuse(status, "there are no multispectral bands to weigh");
    if (!CheckWeights(bands, weights, status)) return false;
    if (StringsEqual(method, "IHS", true)) return SetIhsWeights(bands, weights, properties, status);
    const bool brovey = StringsEqual(method, "Brovey", true);
    if (!brovey && !StringsEqual(method, "KOVA", true) && !StringsEqual(method, "Injection", true))
        return Refuse(status, FormatString("how the method '%s' weighs bands is not known here; set its "
                                           "properties one by one",
                                           method.c_str()));
    std::vector<double> all;
    if (!JoinWeights(bands, weights, all, status)) return false;
    if (brovey)
        SetBroveyWeights(all, bands.infrared, properties);
    else
        SetKovaWeights(all, bands.infrared, properties);
    if (bands.infrared) {
        weights.infrared = all.back();
        all.pop_back();
    }
    weights.bands = std::move(all);
    return true;
}

} // namespace hostkit
