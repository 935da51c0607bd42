#pragma once

#include <string>
#include <string_view>

namespace cli {

/// The number of columns that printed text is wrapped to.
inline constexpr std::size_t textWidth = 80;

/// Breaks a text at spaces into lines of at most textWidth columns, each ending in a line feed. `head` stands
/// before the first line, and `indent` spaces before the others. A head that reaches the indent gets a line
/// of its own, and so does a word that is too long. `indent` must leave room for text.
[[nodiscard]] std::string Wrap(std::string_view head, std::size_t indent, std::string_view text);

} // namespace cli
