#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"
#include "cli/SharpenRun.h"

namespace cli {

/// Prints what a run of this request would find and do.
[[nodiscard]] ExitCode PrintFindings(const Arguments& request, const InfoRun& run);

/// "pansharp info": what is known of a pair before it is fused, and whether it would be.
[[nodiscard]] ExitCode RunInfo(Arguments request);

} // namespace cli
