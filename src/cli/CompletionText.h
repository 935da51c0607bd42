#pragma once

#include <string>

/// Completion for shells, from the one table of commands and options.
namespace cli {

/// A file for bash, sourced before the command is completed; it needs nothing but bash.
[[nodiscard]] std::string BashCompletion();
/// The function _pansharp for zsh, to lie in a folder of its fpath.
[[nodiscard]] std::string ZshCompletion();

} // namespace cli
