#pragma once

#include "cli/OptionTable.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// What was typed, sorted by the table of options but not yet interpreted.
class CommandLine {
public:
    /// Throws UsageError for an unknown command or option, a missing value, an option given twice.
    static CommandLine Parse(int argc, const char* const* argv);
    /// What a program asks of a command: its files, and by long form the values of each option, none for a
    /// flag. Throws UsageError for an unknown option, or another number of values than it takes.
    static CommandLine Make(const CommandEntry& entry, std::vector<std::string> files,
                            std::map<std::string, std::vector<std::string>, std::less<>> values);

    /// The command's entry; that of the program when no command was named.
    [[nodiscard]] const CommandEntry& GetCommand() const { return *command; }
    [[nodiscard]] const std::vector<std::string>& GetPositionals() const { return positionals; }
    /// Whether an option of that long form was typed.
    [[nodiscard]] bool Has(const OptionEntry& option) const { return options.contains(option.Key()); }
    /// All values of an option, in order.
    [[nodiscard]] std::vector<std::string> GetAll(const OptionEntry& option) const;
    /// The last value of an option; empty where it was not typed.
    [[nodiscard]] std::string Get(const OptionEntry& option) const;

private:
    const CommandEntry* command = &Program();
    std::vector<std::string> positionals;
    std::map<std::string, std::vector<std::string>, std::less<>> options;
};

/// An option that stands on a command line.
struct TypedOption {
    std::string name;                ///< its long form, for messages
    std::vector<std::string> values; ///< in order; of a flag none that says anything
    const CommandLine& line;

    [[nodiscard]] const std::string& Value() const { return values.back(); }
};

/// True when "--json" stands among the arguments, also among those that cannot be parsed.
[[nodiscard]] bool AsksForJson(int argc, const char* const* argv);

} // namespace cli
