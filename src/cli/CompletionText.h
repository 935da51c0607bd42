#pragma once

#include <string>

/// Completion for shells, generated from the table of commands and options.
namespace cli {

/// A script for bash that completes the command. It needs only bash. `methods` are the words to offer for a
/// method, separated by spaces.
[[nodiscard]] std::string BashCompletion(const std::string& methods);
/// The function _pansharp for zsh, for a folder of its fpath.
[[nodiscard]] std::string ZshCompletion(const std::string& methods);

} // namespace cli
