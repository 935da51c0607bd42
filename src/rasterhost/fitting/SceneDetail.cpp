#include "rasterhost/fitting/SceneDetail.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "rasterhost/fitting/SceneFitBlocks.h"

#include <algorithm>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;

bool FitDetail(const Scene& scene, const FusionRequest& request, std::optional<int> bitDepth, DetailFit& fit,
               Status& status, const std::function<bool()>& isWanted) {
    const std::size_t bands = scene.bandOrder.size();
    fitting::KnownDetail known{request.transfer, request.gains, request.publishedTransfer};
    for (std::size_t band = 0; band < known.gains.size(); ++band)
        known.gains[band] = request.gains[scene.bandOrder[band]];
    SceneFitBlocks blocks(scene, bitDepth, isWanted);
    if (!fitting::FitDetail(blocks, known, scene.outputBands, fit, status)) return false;
    const std::vector<BandGains> inOrder = fit.gains;
    for (std::size_t band = 0; band < bands; ++band)
        fit.gains[scene.bandOrder[band]] = inOrder[band];
    return true;
}

std::vector<std::string> JudgeDetail(const DetailFit& fit) {
    std::vector<std::string> warnings;
    if (fit.blur && !fit.blur->obstacle.empty())
        warnings.push_back(
            FormatString("the blur of the bands cannot be measured: %s; a modulation transfer of "
                         "%s%s is used; give another with --mtf",
                         fit.blur->obstacle.c_str(), NumberText(fit.transfer).c_str(),
                         fit.publishedTransfer ? ", as published for the sensor," : ""));
    if (!fit.areGainsGiven && !fit.error)
        warnings.push_back(FormatString("too few pixels are left one scale down to fit gains (%.0f): gains "
                                        "by a rule of thumb are used; give others with --gains",
                                        static_cast<double>(fit.samples)));
    const auto isZero = [](const BandGains& of) { return of == BandGains(); };
    if (std::all_of(fit.gains.begin(), fit.gains.end(), isZero))
        warnings.emplace_back(
            fit.areGainsGiven ? "all gains are 0: the bands take no detail from pan"
                              : "no band follows pan's detail one scale down, so the bands get no detail; "
                                "are pan and the bands of the same place and day, and does pan show detail?");
    return warnings;
}

} // namespace rasterhost
