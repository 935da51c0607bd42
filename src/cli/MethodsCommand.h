#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp methods": what the plug-in says of its methods and properties.
[[nodiscard]] ExitCode RunMethods(const Arguments& arguments);

/// "pansharp --version": also when there is no plug-in.
[[nodiscard]] ExitCode RunVersion(const Arguments& arguments);

} // namespace cli
