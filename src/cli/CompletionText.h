#pragma once

#include <string>

/// Completion for shells, from the one table of commands and options.
namespace cli {

/// A file for bash, sourced before the command is completed; it needs nothing but bash. `methods` are the
/// words to offer where a method is to be named, with blanks between them.
[[nodiscard]] std::string BashCompletion(const std::string& methods);
/// The function _pansharp for zsh, to lie in a folder of its fpath.
[[nodiscard]] std::string ZshCompletion(const std::string& methods);

} // namespace cli
