#include "rasterhost/fusing/PreparedPair.h"

#include "fundament/Text.h"
#include "rasterhost/fitting/Shift.h"
#include "rasterhost/fusing/RunPlan.h"
#include "rasterhost/scene/Collars.h"
#include "rasterhost/scene/ScenePart.h"

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

namespace {

/// Measures how far the multispectral content is displaced, and corrects it.
bool TakeBackShift(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    std::optional<Shift> shift;
    if (!MeasureShift(scene, request.bitDepth, shift, status)) return false;
    if (!shift || !shift->IsAgreed()) {
        warn("the shift between pan and the multispectral image cannot be measured; it is not corrected");
        return true;
    }
    if (!MoveScene(shift->displacement, scene, status)) return false;
    warn(FormatString("the content of %s is displaced by (%.2f, %.2f) of its pixels to the right and down; "
                      "that is corrected",
                      scene.GetMultispectral().image->GetName().c_str(), shift->displacement.x,
                      shift->displacement.y));
    return true;
}

/// Uses collars that were found before.
bool TakeCollars(const SceneFindings& known, Scene& scene, Status& status) {
    std::vector<InputImage*> images{scene.pan.get()};
    for (const PlacedImage& coarse : scene.images)
        images.push_back(coarse.image.get());
    bool fits = known.collars.size() == images.size();
    for (std::size_t i = 0; fits && i < images.size(); ++i) {
        const auto& collar = known.collars[i];
        fits = !collar || (collar->GetColumns() == images[i]->GetInfo().cols &&
                           collar->GetRows() == images[i]->GetInfo().rows);
        if (fits && collar) images[i]->SetCollar(collar);
    }
    return fits || Fail(status, HostStatus::InputsDoNotFit,
                        "the collars that are known are not those of the images: their number or size "
                        "differs");
}

/// A shift or a part does not change where collars are.
Preparation TellGaps(const SceneFindings* known, const Warn& warn, const std::function<bool()>& keepOn,
                     Scene& scene, Status& status) {
    if (known) return TakeCollars(*known, scene, status) ? Preparation::Done : Preparation::Failed;
    switch (FindCollars(scene, warn, keepOn, status)) {
    case CollarSearch::Done:
        return Preparation::Done;
    case CollarSearch::Failed:
        return Preparation::Failed;
    case CollarSearch::Cancelled:
        break;
    }
    (void)Fail(status, HostStatus::Cancelled, "cancelled; nothing was made");
    return Preparation::Cancelled;
}

bool CutScene(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    if ((request.onlyIntersection && !CutToIntersection(scene, status)) ||
        (request.window && !CutToWindow(*request.window, scene, status)))
        return false;
    WarnOfBarePixels(scene, warn);
    return true;
}

} // namespace

Preparation PrepareScene(const PairRequest& request, const Warn& warn, const std::function<bool()>& keepOn,
                         std::unique_ptr<Scene>& scene, Status& status, const SceneFindings* known) {
    scene = OpenScene(request, warn, status);
    if (!scene || !CheckSizes(*scene, status) ||
        (!request.measureShift &&
         !CutScene(request, *scene, warn, status))) // refused before all pixels are read
        return Preparation::Failed;
    const Preparation told = TellGaps(known, warn, keepOn, *scene, status);
    if (told != Preparation::Done || !request.measureShift) return told;
    const bool isMoved =
        TakeBackShift(request, *scene, warn, status) && CutScene(request, *scene, warn, status);
    return isMoved ? Preparation::Done : Preparation::Failed;
}

Preparation Prepare(const PairRequest& request, const RunOptions& run, const Warn& warn, PreparedPair& pair,
                    Status& status, const SceneFindings* known) {
    pair.plugin = hostkit::PluginLibrary::FindAndLoad(run.plugin, status);
    if (!pair.plugin) return Preparation::Failed;
    return PrepareScene(
        request, warn, [&run] { return !run.progress || run.progress(0.0); }, pair.scene, status, known);
}

} // namespace rasterhost
