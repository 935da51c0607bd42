#include "cli/OptionsJson.h"

#include "cli/JsonParts.h"
#include "cli/OptionTable.h"
#include "cli/OptionValues.h"
#include "hostkit/PluginLibrary.h"

#include <iostream>

namespace cli {

namespace {

const char* TypeOf(const OptionEntry& option) {
    if (option.IsFlag()) return "flag";
    if (HasOnlyChoices(option)) return "choice";
    constexpr const char* names[] = {"text", "integer", "file", "folder"};
    return names[static_cast<std::size_t>(KindOf(option))];
}

Json OptionObject(const OptionEntry& option, const std::string& methods) {
    Json values = Json::array();
    if (!option.IsFlag()) values = SplitText(option.value, ' ');
    return {{"name", option.Key()},
            {"names", SplitText(option.names, ',')},
            {"type", TypeOf(option)},
            {"values", values},
            {"choices", ChoicesOf(option, methods)},
            {"default", option.standard},
            {"repeatable", option.repeatable},
            {"required", !option.missing.empty()},
            {"group", option.heading},
            {"help", option.help}};
}

Json CommandObject(const CommandEntry& command, const std::string& methods) {
    Json inputs = Json::array(), options = Json::array();
    for (const PositionalEntry& positional : command.positionals)
        inputs.push_back({{"name", positional.name}, {"help", positional.help}});
    for (const OptionEntry& option : command.options)
        options.push_back(OptionObject(option, methods));
    return {{"name", command.name},
            {"synopsis", command.synopsis},
            {"summary", command.summary},
            {"inputs", inputs},
            {"options", options}};
}

} // namespace

ExitCode PrintOptions(const Arguments& arguments) {
    KOVA::Tessara::Fundament::Status status;
    const auto plugin = hostkit::PluginLibrary::FindAndLoad(arguments.plugin, status);
    const std::string methods = plugin ? MethodWords(plugin->GetDescription()) : std::string();
    Json object = JsonHead("", Done);
    object["status"] = JsonStatus(status);
    object["commands"] = Json::array();
    for (const CommandEntry& command : Commands())
        object["commands"].push_back(CommandObject(command, methods));
    object["commands"].push_back(CommandObject(OpenCommand(), methods));
    std::cout << PrintJson(object);
    return Done;
}

} // namespace cli
