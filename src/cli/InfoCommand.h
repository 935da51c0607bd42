#pragma once

#include "cli/CommandLine.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp info": what is known of a pair before it is fused, and whether it would be.
[[nodiscard]] ExitCode RunInfo(const CommandLine& line);

} // namespace cli
