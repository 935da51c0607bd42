#pragma once

#include <string>
#include <string_view>

namespace cli {

/// Columns that printed text is wrapped to.
inline constexpr std::size_t textWidth = 80;

/// The text broken at blanks into lines of at most textWidth columns, each ending in a line feed; `head`
/// stands before the first, as many blanks as `indent` before the others. A head that reaches the indent gets
/// a line of its own, as does a word that is too long. The indent leaves room for some text.
[[nodiscard]] std::string Wrap(std::string_view head, std::size_t indent, std::string_view text);

} // namespace cli
