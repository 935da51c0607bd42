#pragma once

#include "cli/CommandLine.h"
#include "cli/ExitCode.h"
#include "fundament/Status.h"
#include "rasterhost/requests/Requests.h"

namespace cli {

/// Prints what a run of this request would find and do, by the options of the line. The method is that of the
/// plug-in.
[[nodiscard]] ExitCode ReportFindings(const CommandLine& line, const rasterhost::SharpenRequest& request,
                                      KOVA::Tessara::Fundament::Status& status);

/// "pansharp info": what is known of a pair before it is fused, and whether it would be.
[[nodiscard]] ExitCode RunInfo(const CommandLine& line);

} // namespace cli
