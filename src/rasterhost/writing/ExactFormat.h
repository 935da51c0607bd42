#pragma once

#include "rasterhost/scene/Scene.h"

#include <string>
#include <vector>

namespace rasterhost {

struct OutputRules;

/// The creation options of a request, with those in front that make its format keep every sample, where the
/// format knows a way and the request says nothing of quality.
[[nodiscard]] std::vector<std::string> ExactOptions(const OutputRequest& request);

/// Tells by a small image in memory whether the format, with the creation options of the request, gives the
/// samples back as they were: what it does to them in words to follow the output's name, or nothing. A format
/// that cannot be tried in memory is believed.
[[nodiscard]] std::string FindLoss(const OutputRequest& request, const Scene& scene,
                                   const OutputRules& rules);

} // namespace rasterhost
