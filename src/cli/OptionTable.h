#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// Every command and option there is. The parser, --help and the manual page are made from this one table.
namespace cli {

struct OptionEntry {
    std::string_view names;    ///< as typed, the short form first: "-o,--output"
    std::string_view value;    ///< what stands for the value in the help, for several with blanks between
                               ///< them; empty for a flag
    std::string_view standard; ///< the default, as typed or in words; empty for none
    std::string_view heading;  ///< under which the help shows it
    std::string_view help;
    bool repeatable = false;
    std::string_view choices = {}; ///< words that completion offers besides those that `value` spells out

    /// The long form, by which the program asks for it: "--output".
    [[nodiscard]] std::string_view Key() const;
    [[nodiscard]] bool IsFlag() const { return value.empty(); }
    /// Values that follow the option each time.
    [[nodiscard]] std::size_t CountValues() const;
};

/// The help with what else is to be said of the option: that it may be repeated, its default.
[[nodiscard]] std::string HelpOf(const OptionEntry& option);

struct PositionalEntry {
    std::string_view name;
    std::string_view help;
};

struct CommandEntry {
    std::string_view name; ///< empty for the program itself
    std::string_view synopsis;
    std::string_view summary;
    std::span<const PositionalEntry> positionals;
    std::span<const OptionEntry> options; ///< those under one heading stand together
    std::string_view closing;             ///< examples and the like, printed as they are
};

/// What is said of the program when no command is named.
[[nodiscard]] const CommandEntry& Program();
[[nodiscard]] std::span<const CommandEntry> Commands();
/// Null for a command that does not exist.
[[nodiscard]] const CommandEntry* FindCommand(std::string_view name);

} // namespace cli
