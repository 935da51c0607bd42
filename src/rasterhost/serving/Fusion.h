#pragma once

#include "imagery/OutputRow.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/fusing/SceneFindings.h"

namespace rasterhost {

/// How a pair is fused, with nothing left open, and the form of its pixels.
struct Fusion {
    ProcessSettings settings;
    imagery::OutputRules rules;
    SceneFindings found;  ///< what was found in the pixels
    bool isPlain = false; ///< only upsample: the result is the multispectral bands on pan's grid
};

/// The fusion for a request and a pair, with what was found in the pixels for what the request leaves open.
/// False, with an item, when they do not fit together.
[[nodiscard]] bool MakeFusion(SharpenRequest request, const Scene& scene, const PansharpDescription& plugin,
                              const SceneFindings& found, Fusion& fusion, Status& status);

} // namespace rasterhost
