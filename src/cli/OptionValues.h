#pragma once

#include "host/Describe.h"

#include <string>
#include <string_view>
#include <vector>

/// The possible values of an option, for completion and forms.
namespace cli {

struct OptionEntry;

enum class ValueKind { Text, WholeNumber, File, Folder };

/// The kind of the option's value, or of the first if it takes several.
[[nodiscard]] ValueKind KindOf(const OptionEntry& option);
/// The keywords of a plug-in's methods in lower case, separated by spaces.
[[nodiscard]] std::string MethodWords(const PansharpDescription& plugin);
/// The literal words that may be the value: the methods (separated by spaces), the words of the table, and
/// for example "equal" of "W1,W2,...|equal".
[[nodiscard]] std::vector<std::string> ChoicesOf(const OptionEntry& option, const std::string& methods);
/// True when only such words may be the value: "pan|intersection", METHOD.
[[nodiscard]] bool HasOnlyChoices(const OptionEntry& option);

/// "a|b" split at '|' gives "a" and "b"; an empty text gives one empty part.
[[nodiscard]] std::vector<std::string> SplitText(std::string_view text, char separator);

} // namespace cli
