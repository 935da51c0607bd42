#pragma once

#include <cstdint>
#include <string>

/// Questions to the person at the keyboard, asked on standard error. The answer is one key, without Enter and
/// in either case; other keys are ignored. The end of input, and a signal that the process survives, count as
/// the answer that changes nothing.
namespace KOVA::Tessara::Fundament {

/// True when standard input and standard error are terminals, so that somebody can answer.
[[nodiscard]] bool IsInteractive();

/// Whether a file may be overwritten: 1 yes, 0 no, -1 not writable. Asks if the file exists, unless forced.
[[nodiscard]] std::int32_t ConfirmOverwrite(const std::string& path, bool force);

/// Whether a file may be written: 0 cancel, 1 overwrite, 2 append, 4294967295 not writable. A file that does
/// not exist gives 1. Asks when neither flag is set; overwriting takes precedence over appending.
[[nodiscard]] std::uint32_t ConfirmOverwriteOrAppend(const std::string& path, bool overwrite, bool append);

} // namespace KOVA::Tessara::Fundament
