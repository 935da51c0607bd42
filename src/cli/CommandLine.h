#pragma once

#include "cli/OptionTable.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// The command line, sorted by the table of options but not yet interpreted.
class CommandLine {
public:
    /// Throws UsageError for an unknown command or option, a missing value, or an option given twice.
    static CommandLine Parse(int argc, const char* const* argv);
    /// A command line made by a program: the files, and the values of each option by its long form, none for
    /// a flag. Throws UsageError for an unknown option, or a wrong number of values.
    static CommandLine Make(const CommandEntry& entry, std::vector<std::string> files,
                            std::map<std::string, std::vector<std::string>, std::less<>> values);

    /// The entry of the command, or of the program when no command was named.
    [[nodiscard]] const CommandEntry& GetCommand() const { return *command; }
    [[nodiscard]] const std::vector<std::string>& GetPositionals() const { return positionals; }
    /// Whether an option was typed.
    [[nodiscard]] bool Has(const OptionEntry& option) const { return options.contains(option.Key()); }
    /// All values of an option, in order.
    [[nodiscard]] std::vector<std::string> GetAll(const OptionEntry& option) const;
    /// The last value of an option; empty when it was not typed.
    [[nodiscard]] std::string Get(const OptionEntry& option) const;

private:
    const CommandEntry* command = &Program();
    std::vector<std::string> positionals;
    std::map<std::string, std::vector<std::string>, std::less<>> options;
};

/// An option on a command line.
struct TypedOption {
    std::string name;                ///< its long form, for messages
    std::vector<std::string> values; ///< in order; without meaning for a flag
    const CommandLine& line;

    [[nodiscard]] const std::string& Value() const { return values.back(); }
};

/// The command that the arguments name, even if they cannot be parsed; empty for none.
[[nodiscard]] std::string NamedCommand(int argc, const char* const* argv);

/// True when "--json" is among the arguments, even if they cannot be parsed.
[[nodiscard]] bool AsksForJson(int argc, const char* const* argv);

} // namespace cli
