#include "cli/HelpText.h"

#include "cli/TextLayout.h"

namespace cli {

namespace {

constexpr std::size_t helpColumn = 26;

std::string OptionHead(const OptionEntry& option) {
    std::string names(option.names);
    if (const auto comma = names.find(','); comma != std::string::npos)
        names.insert(comma + 1, " ");
    else
        names.insert(0, "    ");
    if (!option.IsFlag()) names += " " + std::string(option.value);
    return "  " + names;
}

} // namespace

std::string HelpText(const CommandEntry& command) {
    std::string text = Wrap("Usage:", 7, command.synopsis) + "\n" + Wrap("", 0, command.summary);
    if (!command.positionals.empty()) text += "\n";
    for (const PositionalEntry& positional : command.positionals)
        text += Wrap("  " + std::string(positional.name), helpColumn, positional.help);
    if (command.name.empty()) {
        text += "\nCommands:\n";
        for (const CommandEntry& each : Commands())
            text += Wrap("  " + std::string(each.name), helpColumn, each.summary);
    }
    std::string_view heading;
    for (const OptionEntry& option : command.options) {
        if (option.heading != heading) text += "\n" + std::string(heading = option.heading) + ":\n";
        text += Wrap(OptionHead(option), helpColumn, HelpOf(option));
    }
    return text + "\n" + std::string(command.closing);
}

} // namespace cli
