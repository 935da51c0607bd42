#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/fusing/SceneFindings.h"

namespace rasterhost {

/// How a pair is fused, with nothing left open, and how its pixels come out.
struct Fusion {
    ProcessSettings settings;
    imagery::OutputRules rules;
    SceneFindings found;  ///< what of it was found in the pixels
    bool isPlain = false; ///< pan adds nothing: the result is the multispectral bands on its grid
};

/// That of a request for a pair, with what was found in the pixels for what the request leaves open. False
/// with an item when the two do not fit.
[[nodiscard]] bool MakeFusion(SharpenRequest request, const Scene& scene, const PansharpDescription& plugin,
                              const SceneFindings& found, Fusion& fusion, Status& status);

} // namespace rasterhost
