#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp compare": which method suits a scene.
[[nodiscard]] ExitCode RunCompare(const Arguments& arguments);

} // namespace cli
