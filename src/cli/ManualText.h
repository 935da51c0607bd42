#pragma once

#include <string>

/// The manual, from the one table of commands and options.
namespace cli {

/// The page for man(1).
[[nodiscard]] std::string ManualPage();
/// The same as Markdown.
[[nodiscard]] std::string ManualMarkdown();

} // namespace cli
