#pragma once

#include "cli/CommandLine.h"
#include "rasterhost/assessing/Compare.h"

namespace cli {

/// What "pansharp assess" and "pansharp compare" were asked. Both throw UsageError.
[[nodiscard]] rasterhost::AssessRequest MakeAssessRequest(const CommandLine& line);
[[nodiscard]] rasterhost::CompareRequest MakeCompareRequest(const CommandLine& line);
/// What may be wrong with a line of "pansharp assess" that failed: several images are named and one file
/// after an option that takes one. Empty otherwise.
[[nodiscard]] std::string HintAtFiles(const CommandLine& line);

} // namespace cli
