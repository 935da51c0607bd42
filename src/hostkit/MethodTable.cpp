#include "hostkit/MethodTable.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "host/PropertyNames.h"
#include "hostkit/HostKitStatus.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;
using KOVA::Tessara::Fundament::PropertyLookUp;
using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Global::NameValueMap;
namespace PropertyNames = KOVA::Tessara::PropertyNames;

namespace {

std::span<const PansharpBandParameter> BandParametersOf(const PansharpMethod& method) {
    return {method.bandParameters, method.bandParameterCount};
}

std::span<const PansharpScalarParameter> ScalarParametersOf(const PansharpMethod& method) {
    return {method.scalarParameters, method.scalarParameterCount};
}

} // namespace

std::span<const PansharpMethod> MethodsOf(const PansharpDescription& plugin) {
    return {plugin.methods, plugin.methodCount};
}

const PansharpMethod* FindRecommended(const PansharpDescription& plugin) {
    const auto methods = MethodsOf(plugin);
    if (methods.empty()) return nullptr;
    const auto found = std::find_if(methods.begin(), methods.end(),
                                    [](const PansharpMethod& method) { return method.isRecommended != 0; });
    return found == methods.end() ? &methods.front() : &*found;
}

const PansharpMethod* FindMethod(const PansharpDescription& plugin, const std::string& keyword,
                                 Status& status) {
    if (const auto* recommended = FindRecommended(plugin); recommended && keyword.empty()) return recommended;
    std::string known;
    for (const PansharpMethod& method : MethodsOf(plugin)) {
        if (StringsEqual(method.keyword, keyword, true)) return &method;
        known += (known.empty() ? "" : ", ") + std::string(method.keyword);
    }
    status.Add(HostKitStatus::NoSuchMethod,
               FormatString("there is no method '%s'; the plug-in has %s", keyword.c_str(), known.c_str()),
               "Host.MethodTable");
    return nullptr;
}

const PansharpBandParameter* FindParameter(const PansharpMethod& method, PansharpFit fit) {
    for (const PansharpBandParameter& parameter : BandParametersOf(method))
        if (parameter.fit == fit) return &parameter;
    return nullptr;
}

bool UsesLowPass(const PansharpMethod& method) {
    return method.additionalBand == PansharpAdditionalBand::LowPass;
}

bool WeighsBands(const PansharpMethod& method) {
    return !UsesLowPass(method) && FindParameter(method, PansharpFit::Share) != nullptr;
}

std::vector<PansharpProperty> PropertiesOf(const PansharpMethod& method) {
    std::vector<PansharpProperty> properties;
    for (const PansharpBandParameter& parameter : BandParametersOf(method))
        for (const PansharpProperty& property : {parameter.band, parameter.additional})
            if (property.name) properties.push_back(property);
    for (const PansharpScalarParameter& parameter : ScalarParametersOf(method))
        properties.push_back(parameter.property);
    return properties;
}

bool IsNamed(const PansharpProperty& property, const std::string& name) {
    if (!property.name) return false;
    const std::string pattern = property.name;
    if (!pattern.ends_with("-N")) return StringsEqual(pattern, name, true);
    const std::string stem = pattern.substr(0, pattern.size() - 1);
    return name.size() > stem.size() && StartsWith(name, stem, true) &&
           name.find_first_not_of("0123456789", stem.size()) == std::string::npos;
}

bool SetValues(const PansharpBandParameter& parameter, const std::vector<double>& values, bool hasAdditional,
               NameValueMap& properties, Status& status) {
    if (values.empty()) return true;
    for (const double value : values)
        if (!std::isfinite(value) || value < parameter.minimum || value > parameter.maximum) {
            status.Add(HostKitStatus::ValueOutOfRange,
                       FormatString("%s is not a value for %s; give numbers from %g to %g",
                                    NumberText(value).c_str(),
                                    parameter.band.name ? parameter.band.name : parameter.additional.name,
                                    parameter.minimum, parameter.maximum),
                       "Host.MethodTable");
            return false;
        }
    std::vector<double> numbers(values.size());
    double additional = std::nan("");
    parameter.toProperties(values.data(), static_cast<std::uint32_t>(values.size()), hasAdditional ? 1 : 0,
                           numbers.data(), &additional);
    for (std::size_t b = 0; b < numbers.size(); ++b)
        if (parameter.band.name && !std::isnan(numbers[b]))
            properties[PropertyNames::OfBand(parameter.band, b)] = NumberText(numbers[b]);
    if (parameter.additional.name && !std::isnan(additional))
        properties[parameter.additional.name] = NumberText(additional);
    return true;
}

bool SetGains(const PansharpMethod& method, const std::vector<double>& gains,
              const std::vector<double>& ratioGains, NameValueMap& properties, Status& status) {
    const PansharpBandParameter* of = FindParameter(method, PansharpFit::Gain);
    if (of && !SetValues(*of, gains, false, properties, status)) return false;
    of = FindParameter(method, PansharpFit::RatioGain);
    return !of || SetValues(*of, ratioGains, false, properties, status);
}

std::vector<double> ReadValues(const PansharpBandParameter& parameter, std::size_t count,
                               const PropertyLookUp& properties) {
    std::vector<std::string> texts(count);
    std::vector<const char*> addresses;
    for (std::size_t b = 0; b < count; ++b) {
        if (parameter.band.name) texts[b] = properties.GetString(PropertyNames::OfBand(parameter.band, b));
        addresses.push_back(texts[b].c_str());
    }
    const std::string additional =
        parameter.additional.name ? properties.GetString(parameter.additional.name) : std::string();
    std::vector<double> values(count);
    if (parameter.fromProperties(addresses.data(), additional.c_str(), static_cast<std::uint32_t>(count),
                                 values.data()) == 0)
        throw std::bad_alloc();
    return values;
}

void SetScalars(const PansharpMethod& method, std::optional<double> lowPassMean, NameValueMap& properties) {
    if (method.additionalBand == PansharpAdditionalBand::LowPass && !lowPassMean) return;
    for (const PansharpScalarParameter& parameter : ScalarParametersOf(method)) {
        std::optional<double> value;
        if (parameter.setting == PansharpSetting::Constant) value = parameter.value;
        if (parameter.setting == PansharpSetting::ShareOfMean && lowPassMean)
            value = parameter.value * *lowPassMean;
        if (value) properties[parameter.property.name] = NumberText(*value);
    }
}

} // namespace hostkit
