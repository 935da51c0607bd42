#include "cli/CommandLine.h"

#include "cli/ExitCode.h"
#include "cli/Suggestion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <list>

namespace cli {

namespace {

/// One command of the table, prepared for the parser.
struct BoundCommand {
    const CommandEntry* entry;
    CLI::App* app;
    std::list<std::vector<std::string>> values; // bound by address
    std::vector<std::pair<const OptionEntry*, CLI::Option*>> options;
};

void Bind(BoundCommand& command) {
    command.app->set_help_flag();
    command.app->allow_extras();
    for (const OptionEntry& entry : command.entry->options) {
        const std::string names(entry.names);
        CLI::Option* option;
        if (entry.IsFlag()) {
            option = command.app->add_flag(names)->disable_flag_override();
        } else {
            option = command.app->add_option(names, command.values.emplace_back());
            option->type_size(static_cast<int>(entry.CountValues()));
            option->expected(1)->allow_extra_args(false)->type_name(std::string(entry.value));
            option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        }
        command.options.emplace_back(&entry, option);
    }
}

bool Given(const BoundCommand& command, const OptionEntry& wanted) {
    return std::any_of(command.options.begin(), command.options.end(), [&wanted](const auto& option) {
        return option.first->Key() == wanted.Key() && option.second->count() > 0;
    });
}

std::string SeeHelp(const CommandEntry& command) {
    const std::string name(command.name);
    return "; 'pansharp " + name + (name.empty() ? "" : " ") + "--help' lists all";
}

bool IsOptionOf(const CommandEntry& command, const std::string& text) {
    return std::any_of(command.options.begin(), command.options.end(), [&text](const OptionEntry& option) {
        const std::string names = "," + std::string(option.names) + ",";
        return text.starts_with("-") && names.find("," + text + ",") != std::string::npos;
    });
}

bool IsCommand(std::string_view name) {
    const auto known = Commands();
    return std::ranges::find(known, name, &CommandEntry::name) != known.end();
}

bool IsOption(const std::string& argument) { return argument.size() > 1 && argument.starts_with("-"); }

[[noreturn]] void RefuseExtra(const CommandEntry& command, const std::string& extra) {
    if (!IsOption(extra)) {
        if (!command.name.empty())
            throw UsageError("unexpected argument '" + extra + "': '" + std::string(command.name) +
                             "' takes no files; leave it out");
        std::vector<std::string> names;
        for (const CommandEntry& each : Commands())
            names.emplace_back(each.name);
        throw UsageError("there is no command '" + extra + "'" + Suggestion(extra, names) + SeeHelp(command));
    }
    const std::string name = extra.substr(0, extra.find('='));
    std::vector<std::string> keys;
    for (const OptionEntry& option : command.options)
        keys.emplace_back(option.Key());
    throw UsageError("unknown option '" + name + "'" + Suggestion(name, keys) + SeeHelp(command));
}

/// Turns the parser's complaint about a missing or superfluous value into our own message.
[[noreturn]] void RefuseValue(const BoundCommand& command, const std::string& complaint) {
    const std::string name = complaint.substr(0, complaint.find_first_of(": "));
    for (const auto& [entry, option] : command.options) {
        if (!option->check_name(name) && !option->check_lname(name)) continue;
        const std::string key(entry->Key());
        if (entry->IsFlag()) throw UsageError(key + " takes no value; give it without one");
        const std::size_t count = entry->CountValues();
        throw UsageError(key + " needs " + (count == 1 ? "a value" : std::to_string(count) + " values") +
                         ": " + key + " " + std::string(entry->value));
    }
    throw UsageError(complaint + SeeHelp(*command.entry));
}

} // namespace

CommandLine CommandLine::Parse(int argc, const char* const* argv) {
    CLI::App app;
    app.require_subcommand(0, 1);
    std::list<BoundCommand> bound;
    Bind(bound.emplace_back(BoundCommand{&Program(), &app, {}, {}}));
    for (const CommandEntry& entry : Commands())
        Bind(bound.emplace_back(BoundCommand{&entry, app.add_subcommand(std::string(entry.name)), {}, {}}));
    // Arguments after "--" are not options, even if they look like options. The parser takes arguments from
    // the end.
    const char* const* const begin = argv + std::min(argc, 1);
    const char* const* const end = argv + argc;
    const char* const* const mark = std::find(begin, end, std::string_view("--"));
    std::vector<std::string> arguments(begin, mark);
    // "help COMMAND" and "version", which users know from other programs.
    if (!arguments.empty() && arguments.front() == "help") {
        while (!arguments.empty() && arguments.front() == "help")
            arguments.erase(arguments.begin());
        if (!arguments.empty() && arguments.front() == "version") arguments.clear(); // the program's own
        const auto named = std::find_if_not(arguments.begin(), arguments.end(),
                                            [](const auto& each) { return IsOption(each); });
        if (named != arguments.end() && !IsCommand(*named)) RefuseExtra(Program(), *named);
        arguments.emplace_back("--help");
    } else if (!arguments.empty() && arguments.front() == "version") {
        arguments.front() = "--version";
    }
    std::reverse(arguments.begin(), arguments.end());
    std::replace(arguments.begin(), arguments.end(), std::string("-of"),
                 std::string("--of")); // GDAL's spelling
    std::string failure;
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        failure = error.what();
    }

    CommandLine line;
    BoundCommand* used = &bound.front();
    for (BoundCommand& command : bound)
        if (command.app->parsed() && !Given(bound.front(), option::version) &&
            !Given(bound.front(), option::help))
            used = &command;
    line.command = used->entry;
    for (const auto& [entry, option] : used->options) {
        if (option->count() == 0) continue;
        if (!entry->IsFlag() && !entry->repeatable && option->count() > entry->CountValues())
            throw UsageError(std::string(entry->Key()) + " is given more than once; give it once");
        line.options[std::string(entry->Key())] = option->results();
        if (entry->IsFlag()) continue;
        for (const std::string& value : option->results())
            if (IsOptionOf(*used->entry, value)) RefuseValue(*used, std::string(entry->Key()) + ":");
    }
    if (line.Has(option::help) || line.Has(option::version)) return line;
    if (!failure.empty()) RefuseValue(*used, failure);
    if (used != &bound.front())
        for (const std::string& extra : app.remaining()) // what came before the command
            RefuseExtra(Program(), extra);
    const bool takesFiles = !used->entry->positionals.empty();
    line.positionals = used->app->remaining();
    for (const std::string& extra : line.positionals)
        if (!takesFiles || IsOption(extra)) RefuseExtra(*used->entry, extra);
    if (mark != end) line.positionals.insert(line.positionals.end(), mark + 1, end);
    if (!takesFiles && !line.positionals.empty()) RefuseExtra(*used->entry, line.positionals.front());
    return line;
}

CommandLine CommandLine::Make(const CommandEntry& entry, std::vector<std::string> files,
                              std::map<std::string, std::vector<std::string>, std::less<>> values) {
    for (const auto& [key, given] : values) {
        const auto option = std::ranges::find(entry.options, key, &OptionEntry::Key);
        if (option == entry.options.end()) RefuseExtra(entry, key);
        const std::size_t count = option->CountValues();
        const bool fits =
            option->repeatable ? !given.empty() && given.size() % count == 0 : given.size() == count;
        if (!fits)
            throw UsageError(key + " takes " +
                             (count == 0 ? std::string("no value")
                              : count == 1
                                  ? std::string("one value: ") + std::string(option->value)
                                  : std::to_string(count) + " values: " + std::string(option->value)));
    }
    CommandLine line;
    line.command = &entry;
    line.positionals = std::move(files);
    line.options = std::move(values);
    return line;
}

std::vector<std::string> CommandLine::GetAll(const OptionEntry& option) const {
    const auto found = options.find(option.Key());
    return found == options.end() ? std::vector<std::string>() : found->second;
}

std::string CommandLine::Get(const OptionEntry& option) const {
    const auto found = options.find(option.Key());
    return found == options.end() ? std::string() : found->second.back();
}

std::string NamedCommand(int argc, const char* const* argv) {
    const char* const* const end = argv + argc;
    const char* const* const named = std::find_if(
        argv + std::min(argc, 1), end, [](std::string_view each) { return !each.starts_with("-"); });
    return named != end && IsCommand(*named) ? *named : "";
}

bool AsksForJson(int argc, const char* const* argv) {
    const char* const* end = std::find(argv, argv + argc, std::string_view("--"));
    return std::find(argv, end, std::string_view("--json")) != end;
}

} // namespace cli
