#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// Every command and option there is. The parser, --help, the manual page and completion are made from this
/// one table, and a command's request by the readers in it.
namespace cli {

class CommandLine;
struct Arguments;
struct TypedOption;

struct OptionText {
    std::string_view names;    ///< as typed, the short form first: "-o,--output"
    std::string_view value;    ///< what stands for the value in the help, for several with blanks between
                               ///< them; empty for a flag
    std::string_view standard; ///< the default, as typed or in words; empty for none
    std::string_view heading;  ///< under which the help shows it
    std::string_view help;
};

struct OptionEntry : OptionText {
    /// Puts what was typed into a field of the arguments. Null for an option that is asked for by its handle,
    /// before the others are read.
    void (*read)(const TypedOption& option, Arguments& to) = nullptr;
    bool repeatable = false;
    std::string_view choices = {}; ///< words that completion offers besides those that `value` spells out
    std::string_view missing = {}; ///< of an option that has to be given: what to say when it is not

    /// The long form, such as "--output".
    [[nodiscard]] constexpr std::string_view Key() const { return names.substr(names.find("--")); }
    [[nodiscard]] bool IsFlag() const { return value.empty(); }
    /// Values that follow the option each time.
    [[nodiscard]] std::size_t CountValues() const;
};

/// The help, with its default and whether the option may be repeated.
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
    void (*readInputs)(const CommandLine& line, Arguments& to); ///< those positionals; null without any
    std::span<const OptionEntry> options;                       ///< those under one heading stand together
    /// Long forms of options that are read before the others, in this order. When several are wrong, it
    /// decides which is reported.
    std::span<const std::string_view> order;
    std::string_view closing; ///< examples and the like, printed as they are
};

/// Options that are asked for by name: a reader checks whether another option was typed too.
namespace option {
extern const OptionEntry method, weights, weightsFrom, infrared, infraredWeight, transfer, gains;
extern const OptionEntry projwin, bbox, bitDepth, noData;
extern const OptionEntry reference, pan, ms;
extern const OptionEntry simd, version, optionsJson, help;
} // namespace option

/// True for an option that a description of the scene leaves no room for.
[[nodiscard]] bool SaysHowToFuse(const OptionEntry& option);
/// True for one that says which of the bands to write, whose pixels are the same whatever others are written.
[[nodiscard]] bool ChoosesBands(const OptionEntry& option);

/// The entry of the program, for when no command is named.
[[nodiscard]] const CommandEntry& Program();
[[nodiscard]] std::span<const CommandEntry> Commands();
/// What opens a scene in place of writing it, for programs: "sharpen" without what says how to write. No
/// command line has it.
[[nodiscard]] const CommandEntry& OpenCommand();
/// What sharpens one scene of a batch: "sharpen" without what says how to tell of it. No command line has it.
[[nodiscard]] const CommandEntry& SceneCommand();
/// Null for a command that does not exist.
[[nodiscard]] const CommandEntry* FindCommand(std::string_view name);

} // namespace cli
