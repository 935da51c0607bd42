#include "cli/MethodsCommand.h"

#include "cli/RunJson.h"
#include "cli/StatusText.h"
#include "cli/TextLayout.h"
#include "fundament/Text.h"
#include "hostkit/MethodTable.h"
#include "hostkit/PluginLibrary.h"
#include "kernels/Simd.h"

#include <iostream>
#include <span>

namespace cli {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;

namespace {

constexpr std::size_t detailColumn = 14;
constexpr std::size_t propertyColumn = 32;

std::string FormatProperties(std::span<const PansharpProperty> properties) {
    std::string text;
    for (const PansharpProperty& property : properties) {
        const std::string standard = property.defaultValue;
        text += Wrap("    " + std::string(property.name), propertyColumn,
                     std::string(property.help) + " (" + property.type +
                         (standard.empty() ? "" : ", default " + standard) + ")");
    }
    return text;
}

std::string FormatMethod(const PansharpMethod& method, bool isDefault) {
    std::string text = std::string(method.keyword) + (isDefault ? " (the default)\n" : "\n") +
                       Wrap("  does", detailColumn, method.summary) +
                       Wrap("  formula", detailColumn, method.formula) +
                       Wrap("  use", detailColumn, method.advice) +
                       Wrap("  needs", detailColumn,
                            FormatString("%u multispectral band%s at least", method.minimumBands,
                                         method.minimumBands == 1 ? "" : "s"));
    const auto properties = hostkit::PropertiesOf(method);
    if (!properties.empty()) text += "  properties\n" + FormatProperties(properties);
    return text + "\n";
}

} // namespace

ExitCode RunMethods(const Arguments& arguments) {
    Status status;
    const auto plugin = hostkit::PluginLibrary::FindAndLoad(arguments.plugin, status);
    if (!plugin) {
        std::cerr << FormatErrors(status);
        if (arguments.json) std::cout << FailureJson("methods", WorkFailed, status);
        return WorkFailed;
    }
    const PansharpDescription& description = plugin->GetDescription();
    if (arguments.json) {
        std::cout << MethodsJson(description, plugin->GetPath());
        return Done;
    }
    std::cout << "Methods of the plug-in " << description.name << " " << description.version << " ("
              << plugin->GetPath() << "), for --method:\n\n";
    for (const PansharpMethod& method : hostkit::MethodsOf(description))
        std::cout << FormatMethod(method, &method == hostkit::FindRecommended(description));
    std::cout << "Properties of the process, for every method. The command itself sets those of images, "
                 "bands\nand method:\n"
              << FormatProperties(std::span(description.properties, description.propertyCount));
    return Done;
}

ExitCode RunVersion(const Arguments& arguments) {
    Status status;
    const auto plugin = hostkit::PluginLibrary::FindAndLoad(arguments.plugin, status);
    const ExitCode code = plugin ? Done : WorkFailed;
    if (!plugin) std::cerr << FormatErrors(status);
    if (arguments.json) {
        std::cout << VersionJson(plugin ? &plugin->GetDescription() : nullptr,
                                 plugin ? plugin->GetPath() : std::string(), code, status);
        return code;
    }
    std::cout << "pansharp " << PANSHARP_VERSION << "\nvector instructions "
              << kernels::SimdTargetName(kernels::ChosenSimdTarget()) << "\n";
    if (plugin)
        std::cout << "plug-in " << plugin->GetDescription().name << " " << plugin->GetDescription().version
                  << ", contract " << plugin->GetDescription().contractVersion << ", " << plugin->GetPath()
                  << "\n";
    else
        std::cout << "plug-in: none that works\n";
    return code;
}

} // namespace cli
