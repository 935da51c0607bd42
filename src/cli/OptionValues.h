#pragma once

#include "host/Describe.h"

#include <string>
#include <string_view>
#include <vector>

/// What may be given as the value of an option, for programs that offer it: completion, forms.
namespace cli {

struct OptionEntry;

enum class ValueKind { Text, WholeNumber, File, Folder };

/// Of the first value, where there are several.
[[nodiscard]] ValueKind KindOf(const OptionEntry& option);
/// The keywords of a plug-in's methods in lower case, with blanks between them.
[[nodiscard]] std::string MethodWords(const PansharpDescription& plugin);
/// The words that may be the value as they stand: the methods (with blanks between them), those of the table
/// and, of "W1,W2,...|equal", "equal".
[[nodiscard]] std::vector<std::string> ChoicesOf(const OptionEntry& option, const std::string& methods);
/// True when nothing but those words may be the value: "pan|intersection", METHOD.
[[nodiscard]] bool HasOnlyChoices(const OptionEntry& option);

/// "a|b" with '|' gives "a" and "b"; an empty text gives one empty part.
[[nodiscard]] std::vector<std::string> SplitText(std::string_view text, char separator);

} // namespace cli
