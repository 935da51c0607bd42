#pragma once

#include <string>

/// The manual, generated from the table of commands and options.
namespace cli {

struct CommandEntry;

/// The page for man(1).
[[nodiscard]] std::string ManualPage();
/// The program and a table of its commands in Markdown, with links to commands/NAME.md.
[[nodiscard]] std::string ManualMarkdown();
/// The page of a command in Markdown.
[[nodiscard]] std::string ManualMarkdown(const CommandEntry& command);

} // namespace cli
