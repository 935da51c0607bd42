#pragma once

#include "cli/OptionTable.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// What was typed, sorted by the table of options but not yet understood.
class CommandLine {
public:
    /// Throws UsageError for an unknown command or option, a missing value, an option given twice.
    static CommandLine Parse(int argc, const char* const* argv);

    /// The command's entry; that of the program when no command was named.
    [[nodiscard]] const CommandEntry& GetCommand() const { return *command; }
    [[nodiscard]] const std::vector<std::string>& GetPositionals() const { return positionals; }
    [[nodiscard]] bool Has(std::string_view key) const { return options.contains(key); }
    /// All values of an option, in order. Options go by their long form, as in "--output".
    [[nodiscard]] std::vector<std::string> GetAll(std::string_view key) const;
    /// The value of an option, or its default from the table.
    [[nodiscard]] std::string Get(std::string_view key) const;

private:
    const CommandEntry* command = &Program();
    std::vector<std::string> positionals;
    std::map<std::string, std::vector<std::string>, std::less<>> options;
};

/// True when "--json" stands among the arguments, also among those that cannot be parsed.
[[nodiscard]] bool AsksForJson(int argc, const char* const* argv);

} // namespace cli
