#pragma once

#include "cli/CommandLine.h"
#include "rasterhost/Compare.h"

namespace cli {

/// What "pansharp assess" and "pansharp compare" were asked. Both throw UsageError.
[[nodiscard]] rasterhost::AssessRequest MakeAssessRequest(const CommandLine& line);
[[nodiscard]] rasterhost::CompareRequest MakeCompareRequest(const CommandLine& line);

} // namespace cli
