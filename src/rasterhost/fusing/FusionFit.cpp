#include "rasterhost/fusing/FusionFit.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <algorithm>
#include <utility>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;

namespace {

/// Fits the weights if the request leaves them open.
bool FitOpenWeights(SharpenRequest& request, PreparedPair& pair, ProcessSettings& settings,
                    SceneFindings& found, const Warn& warn, Status& status) {
    WeightFit fit;
    const FitOptions options{request.bitDepth, request.infraredWeight};
    if (!FitWeights(*pair.scene, options, fit, nullptr, status)) return false;
    if (!fit.obstacle.empty()) {
        warn(fit.obstacle + "; equal weights are used");
        return true;
    }
    request.weights = fit.weights;
    request.infraredWeight = fit.infraredWeight;
    found.fit = std::move(fit);
    return MakeSettings(request, *pair.scene, pair.plugin->GetDescription(), nullptr, settings, status);
}

/// Fits the parts of blur and gains that the request leaves open.
bool FitOpenDetail(const SharpenRequest& request, PreparedPair& pair, ProcessSettings& settings,
                   SceneFindings& found, const Warn& warn, Status& status) {
    if (!found.detail && !FitDetail(*pair.scene, request, request.bitDepth, found.detail.emplace(), status))
        return false;
    for (const std::string& warning : JudgeDetail(*found.detail))
        warn(warning);
    return MakeSettings(request, *pair.scene, pair.plugin->GetDescription(), &*found.detail, settings,
                        status);
}

/// Warns of weights that look like per cent, or like those for bands of another scale.
void JudgeWeights(const ProcessSettings& settings, const Warn& warn) {
    constexpr double most = 10.0;
    const double sum = settings.GetWeightSum();
    if (settings.effectiveWeights.empty() || sum <= most) return;
    warn(FormatString("the weights of the bands add up to %s: if bands and pan are on one scale, the sum "
                      "must be about 1, or the result is far too dark; are they per cent?",
                      NumberText(sum).c_str()));
}

/// Findings from elsewhere may be of another pair.
bool CheckKnown(const Scene& scene, const SceneFindings& known, Status& status) {
    const bool fits = std::all_of(scene.bandOrder.begin(), scene.bandOrder.end(), [&](std::size_t band) {
        return (!known.fit || band < known.fit->correlations.size()) &&
               (!known.detail || band < known.detail->gains.size());
    });
    return fits || Fail(status, HostStatus::InputsDoNotFit,
                        "the known weights or gains are for fewer bands than the images have");
}

} // namespace

bool FitFusion(SharpenRequest& request, PreparedPair& pair, const SceneFindings* known,
               ProcessSettings& settings, SceneFindings& found, const Warn& warn, Status& status) {
    const PansharpDescription& plugin = pair.plugin->GetDescription();
    if (known && !CheckKnown(*pair.scene, *known, status)) return false;
    if (known) found = *known;
    if (WantsFit(request, plugin) && !FitOpenWeights(request, pair, settings, found, warn, status))
        return false;
    if (WantsDetail(request, plugin) && !FitOpenDetail(request, pair, settings, found, warn, status))
        return false;
    if (!found.fit) {
        JudgeWeights(settings, warn);
        return true;
    }
    for (const std::string& warning : JudgeFit(*pair.scene, *found.fit))
        warn(warning);
    return true;
}

} // namespace rasterhost
