#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp sharpen": fuses a scene and prints what was done or why not. Throws UsageError.
[[nodiscard]] ExitCode RunSharpen(Arguments request);

} // namespace cli
