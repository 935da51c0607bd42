#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp compare": finds the method that suits a scene.
[[nodiscard]] ExitCode RunCompare(const Arguments& arguments);

} // namespace cli
