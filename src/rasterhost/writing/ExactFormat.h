#pragma once

#include "rasterhost/writing/OutputPlan.h"

#include <string>

namespace rasterhost {

/// Tells by a small image in memory whether the format, with its creation options, gives the samples back as
/// they were: what it does to them in words to follow the output's name, or nothing. A format that cannot be
/// tried in memory is believed.
[[nodiscard]] std::string FindLoss(const OutputPlan& plan, const std::string& output);

} // namespace rasterhost
