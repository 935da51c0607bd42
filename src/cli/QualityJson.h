#pragma once

#include "cli/ExitCode.h"
#include "rasterhost/assessing/Compare.h"

#include <string>

namespace cli {

/// The objects of "pansharp assess --json" and "pansharp compare --json". NaN is written as null.
[[nodiscard]] std::string AssessJson(const rasterhost::AssessRequest& request,
                                     const rasterhost::AssessReport& report, ExitCode code,
                                     const KOVA::Tessara::Fundament::Status& status);
[[nodiscard]] std::string CompareJson(const rasterhost::CompareRequest& request,
                                      const rasterhost::CompareReport& report, ExitCode code,
                                      const KOVA::Tessara::Fundament::Status& status);

} // namespace cli
