#pragma once

#include "cli/CommandLine.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp compare": which method suits a scene.
[[nodiscard]] ExitCode RunCompare(const CommandLine& line);

} // namespace cli
