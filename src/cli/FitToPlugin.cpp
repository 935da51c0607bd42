#include "cli/FitToPlugin.h"

#include "cli/ExitCode.h"
#include "cli/Suggestion.h"
#include "fundament/Text.h"
#include "hostkit/MethodTable.h"

#include <algorithm>
#include <span>

namespace cli {

using KOVA::Tessara::Fundament::StringsEqual;

namespace {

const PansharpMethod& FindMethod(const PansharpDescription& plugin, const std::string& typed) {
    std::vector<std::string> keywords;
    std::string listed;
    for (const PansharpMethod& method : hostkit::MethodsOf(plugin)) {
        if (StringsEqual(method.keyword, typed, true)) return method;
        keywords.push_back(KOVA::Tessara::Fundament::ToLower(method.keyword));
        listed += (listed.empty() ? "" : ", ") + keywords.back();
    }
    throw UsageError("--method: the plug-in has no method '" + typed + "'" + Suggestion(typed, keywords) +
                     "; it offers " + listed);
}

/// The named method; else that of the run whose weights are used; else the plug-in's first method if options
/// are given that the recommended one ignores; else the recommended one.
const PansharpMethod& ChooseMethod(const PansharpDescription& plugin, const Arguments& request,
                                   std::vector<std::string>& warnings) {
    const auto* recommended = hostkit::FindRecommended(plugin);
    if (!recommended || !request.method.empty() || request.line.Has(option::method))
        return FindMethod(plugin, request.method);
    if (request.earlier) return FindMethod(plugin, request.earlier->method);
    if (!hostkit::UsesLowPass(*recommended)) return *recommended;
    std::string weighs;
    for (const OptionEntry* option : {&option::infraredWeight, &option::infrared, &option::weights})
        if (request.line.Has(*option)) weighs = option->Key();
    const auto* shares = hostkit::FindParameter(*recommended, PansharpFit::Share);
    for (const auto& [name, value] : request.properties)
        if (shares && (hostkit::IsNamed(shares->band, name) || hostkit::IsNamed(shares->additional, name)))
            weighs = "the property " + name;
    if (weighs.empty()) return *recommended;
    warnings.push_back(weighs + ": the method " + plugin.methods[0].keyword + " is used, because " +
                       recommended->keyword + " has no band weights; choose the method with --method");
    return plugin.methods[0];
}

bool HasProperty(std::span<const PansharpProperty> properties, const std::string& name) {
    return std::any_of(properties.begin(), properties.end(),
                       [&](const PansharpProperty& property) { return hostkit::IsNamed(property, name); });
}

} // namespace

std::vector<std::string> FitToPlugin(const PansharpDescription& plugin, Arguments& request) {
    std::vector<std::string> warnings;
    const PansharpMethod& method = ChooseMethod(plugin, request, warnings);
    request.method = method.keyword;
    const bool weighsBands = hostkit::WeighsBands(method), usesLowPass = hostkit::UsesLowPass(method);
    const auto refuse = [&](const OptionEntry& option, bool takes, const char* what) {
        const std::string name(option.Key());
        if (!takes && request.line.Has(option))
            throw UsageError(name + ": the method " + request.method + " takes no " + what + "; leave " +
                             name + " out or choose another method");
    };
    refuse(option::weights, weighsBands, "weights of bands");
    refuse(option::weightsFrom, weighsBands || usesLowPass, "weights of bands");
    const std::string file = request.line.Get(option::weightsFrom);
    if (request.earlier && weighsBands && request.weights.empty())
        throw UsageError("--weights-from: the run of '" + file +
                         "' had no band weights; use a run of another method");
    refuse(option::infrared, !usesLowPass, "infrared band");
    refuse(option::transfer, usesLowPass, "blur or gains");
    refuse(option::gains, usesLowPass, "blur or gains");
    if (!usesLowPass) {
        request.transfer.reset();
        request.gains.clear();
    }
    if (request.earlier && !StringsEqual(request.earlier->method, request.method, true))
        warnings.push_back("--weights-from: the run of '" + file + "' used the method " +
                           request.earlier->method + "; its weights are used for " + request.method);
    for (const auto& [name, value] : request.properties)
        if (!HasProperty(std::span(plugin.properties, plugin.propertyCount), name) &&
            !HasProperty(hostkit::PropertiesOf(method), name))
            warnings.push_back("the property " + name +
                               ": there is no such property of the process or of the method " +
                               request.method + "; 'pansharp methods' lists them");
    return warnings;
}

} // namespace cli
