#pragma once

#include "rasterhost/writing/OutputPlan.h"

#include <string>

namespace rasterhost {

/// Tries with a small image in memory whether the format, with its creation options, keeps samples unchanged.
/// Returns what it does to them, as words that follow the output's name; empty when it changes nothing. A
/// format that cannot be tried in memory counts as exact.
[[nodiscard]] std::string FindLoss(const OutputPlan& plan, const std::string& output);

} // namespace rasterhost
