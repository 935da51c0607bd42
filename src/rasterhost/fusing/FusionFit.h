#pragma once

#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/fusing/SceneFindings.h"

namespace rasterhost {

/// Finds in the pixels of a pair what a request leaves open of how it is fused: weights, or blur and gains,
/// where the method wants them and they are not `known` (which may be null). The request gets the weights;
/// `settings`, made for it before, are made again; `found` gets how well it went, or what was known. Warns of
/// what it means for the result. False with an item.
[[nodiscard]] bool FitFusion(SharpenRequest& request, PreparedPair& pair, const SceneFindings* known,
                             ProcessSettings& settings, SceneFindings& found, const Warn& warn,
                             Status& status);

} // namespace rasterhost
