#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp methods": prints the plug-in's description of its methods and properties.
[[nodiscard]] ExitCode RunMethods(const Arguments& arguments);

/// "pansharp --version": works without a plug-in too.
[[nodiscard]] ExitCode RunVersion(const Arguments& arguments);

} // namespace cli
