#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// Every command and option. The parser, --help, the manual page and completion are generated from this
/// table, and its readers fill a command's request.
namespace cli {

class CommandLine;
struct Arguments;
struct TypedOption;

struct OptionText {
    std::string_view names; ///< as typed, the short form first: "-o,--output"
    /// The placeholder of the value in the help; several are separated by spaces; empty for a flag.
    std::string_view value;
    std::string_view standard; ///< the default, as typed or in words; empty for no default
    std::string_view heading;  ///< the heading in the help
    std::string_view help;
};

struct OptionEntry : OptionText {
    /// Stores what was typed in a field of the arguments. Null for an option that is asked for by its handle
    /// before the others are read.
    void (*read)(const TypedOption& option, Arguments& to) = nullptr;
    bool repeatable = false;
    std::string_view choices = {}; ///< words for completion in addition to those in `value`
    std::string_view missing = {}; ///< of a required option: the message when it is missing

    /// The long form, such as "--output".
    [[nodiscard]] constexpr std::string_view Key() const { return names.substr(names.find("--")); }
    [[nodiscard]] bool IsFlag() const { return value.empty(); }
    /// The number of values that the option takes each time.
    [[nodiscard]] std::size_t CountValues() const;
};

/// The help text, with the default and whether the option may be repeated.
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
    void (*readInputs)(const CommandLine& line, Arguments& to); ///< reads the positional arguments; null if
                                                                ///< there are none
    std::span<const OptionEntry> options;                       ///< options with the same heading stand
                                                                ///< together
    /// Long forms of options that are read first, in this order. If several are wrong, it decides which is
    /// reported.
    std::span<const std::string_view> order;
    std::string_view closing; ///< examples and the like, printed unchanged
};

/// Options with a handle, for readers that check whether another option was typed too.
namespace option {
extern const OptionEntry method, weights, weightsFrom, infrared, infraredWeight, transfer, gains;
extern const OptionEntry projwin, bbox, bitDepth, noData;
extern const OptionEntry reference, pan, ms;
extern const OptionEntry simd, version, optionsJson, help;
} // namespace option

/// True for an option that cannot be combined with a description of the scene.
[[nodiscard]] bool SaysHowToFuse(const OptionEntry& option);
/// True for an option that selects bands to write. The pixels of a band do not depend on the selection.
[[nodiscard]] bool ChoosesBands(const OptionEntry& option);

/// The entry of the program, used when no command is named.
[[nodiscard]] const CommandEntry& Program();
[[nodiscard]] std::span<const CommandEntry> Commands();
/// Opens a scene instead of writing it, for programs: "sharpen" without the options about writing. Not a
/// command that can be typed.
[[nodiscard]] const CommandEntry& OpenCommand();
/// Sharpens one scene of a batch: "sharpen" without the options about reporting. Not a command that can be
/// typed.
[[nodiscard]] const CommandEntry& SceneCommand();
/// Null for a command that does not exist.
[[nodiscard]] const CommandEntry* FindCommand(std::string_view name);

} // namespace cli
