#include "rasterhost/serving/Fusion.h"

#include "rasterhost/writing/OutputPlan.h"

namespace rasterhost {

bool MakeFusion(SharpenRequest request, const Scene& scene, const PansharpDescription& plugin,
                const SceneFindings& found, Fusion& fusion, Status& status) {
    if (found.fit && found.fit->obstacle.empty() && WantsFit(request, plugin)) {
        request.weights = found.fit->weights;
        request.infraredWeight = found.fit->infraredWeight;
    }
    if (!MakeSettings(request, scene, plugin, found.detail ? &*found.detail : nullptr, fusion.settings,
                      status))
        return false;
    fusion.rules = MakeOutputRules(request, scene);
    fusion.rules.bands = fusion.settings.outputBands;
    fusion.found = found;
    return true;
}

} // namespace rasterhost
