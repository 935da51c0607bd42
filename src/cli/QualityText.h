#pragma once

#include "rasterhost/assessing/Compare.h"

#include <string>

namespace cli {

/// The output of "pansharp assess" and "pansharp compare".
[[nodiscard]] std::string FormatAssessment(const rasterhost::AssessReport& report);
[[nodiscard]] std::string FormatComparison(const rasterhost::CompareReport& report);

/// "fitted" or "equal".
[[nodiscard]] const char* NameOf(rasterhost::WeightSource weights);
/// The settings of an entry: "METHOD, fitted weights, cubic" and the like.
[[nodiscard]] std::string NameOf(const rasterhost::CompareEntry& entry);

} // namespace cli
