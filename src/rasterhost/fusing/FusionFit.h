#pragma once

#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/fusing/SceneFindings.h"

namespace rasterhost {

/// Fits to a pair what a request leaves open: weights, or blur and gains, if the method uses them and they
/// are not in `known` (which may be null). The weights go into the request; `settings`, made for it before,
/// are made again; `found` gets how well the fit went, or what was known. Warns of consequences for the
/// result. False with an item.
[[nodiscard]] bool FitFusion(SharpenRequest& request, PreparedPair& pair, const SceneFindings* known,
                             ProcessSettings& settings, SceneFindings& found, const Warn& warn,
                             Status& status);

} // namespace rasterhost
