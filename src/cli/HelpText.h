#pragma once

#include "cli/OptionTable.h"

#include <string>

namespace cli {

/// The help of a command, or of the program with its list of commands. Ends in a line feed.
[[nodiscard]] std::string HelpText(const CommandEntry& command);

} // namespace cli
