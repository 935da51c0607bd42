#pragma once

#include "cli/Arguments.h"
#include "cli/ExitCode.h"
#include "fundament/Status.h"

namespace cli {

/// Prints what a run of this request would find and do. The method is that of the plug-in.
[[nodiscard]] ExitCode ReportFindings(const Arguments& request, KOVA::Tessara::Fundament::Status& status);

/// "pansharp info": what is known of a pair before it is fused, and whether it would be.
[[nodiscard]] ExitCode RunInfo(Arguments request);

} // namespace cli
