#pragma once

#include "rasterhost/assessing/Preflight.h"

#include <string>

namespace cli {

/// The output of "pansharp info" for a pair that can be fused, without its warnings. Ends in a line feed.
[[nodiscard]] std::string FormatInfo(const rasterhost::PreflightReport& report);

} // namespace cli
