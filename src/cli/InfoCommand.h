#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"
#include "cli/SharpenRun.h"

namespace cli {

/// Prints what a run of this request would find and do.
[[nodiscard]] ExitCode PrintFindings(const Arguments& request, const InfoRun& run);

/// "pansharp info": describes a pair before it is fused, and tells whether it can be. Throws UsageError.
[[nodiscard]] ExitCode RunInfo(Arguments request);

} // namespace cli
