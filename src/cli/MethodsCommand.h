#pragma once

#include "cli/CommandLine.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp methods": what the plug-in says of its methods and properties.
[[nodiscard]] ExitCode RunMethods(const CommandLine& line);

/// "pansharp --version": also when there is no plug-in.
[[nodiscard]] ExitCode RunVersion(const CommandLine& line);

} // namespace cli
