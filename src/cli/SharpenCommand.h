#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"

namespace cli {

/// "pansharp sharpen": fuses a scene and prints the result or the reasons of a failure. Throws UsageError.
[[nodiscard]] ExitCode RunSharpen(Arguments request);

} // namespace cli
