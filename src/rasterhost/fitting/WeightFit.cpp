#include "rasterhost/fitting/WeightFit.h"

#include "fitting/ShareFit.h"
#include "fundament/Text.h"
#include "rasterhost/fitting/SceneSurvey.h"

#include <algorithm>

namespace rasterhost {

using fitting::FitMoments;

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr double poorFit = 0.8;
constexpr double leastCorrelation = 0.3;

void AddTally(const ImageTally& block, ImageTally& sum) {
    sum.pixels += block.pixels;
    sum.withoutData += block.withoutData;
    sum.saturated += block.saturated;
    sum.largest = std::max(sum.largest, block.largest);
}

void AddBlock(const SurveyBlock& block, FitMoments& moments, SceneTally* tally) {
    for (std::size_t pixel = 0; pixel < block.GetCount(); ++pixel) {
        if (!block.IsUsable(pixel)) continue;
        const auto pan = block.GetPan(pixel, 0.0, 0.0);
        if (!pan) continue;
        moments.AddBands(block.GetSamples(pixel));
        moments.AddPan(block.GetSamples(pixel), *pan);
    }
    if (!tally) return;
    AddTally(block.GetTally().pan, tally->pan);
    tally->images.resize(block.GetTally().images.size());
    for (std::size_t image = 0; image < tally->images.size(); ++image)
        AddTally(block.GetTally().images[image], tally->images[image]);
}

/// Reports the result in the order of the request.
void Report(const Scene& scene, const fitting::ShareFit& found, WeightFit& fit) {
    const std::size_t bands = scene.bandOrder.size();
    fit.obstacle = found.obstacle;
    fit.samples = found.samples;
    fit.rSquared = found.rSquared;
    if (found.weights.empty()) return;
    fit.weights.resize(bands);
    fit.correlations.resize(bands);
    for (std::size_t band = 0; band < bands; ++band) {
        fit.weights[scene.bandOrder[band]] = found.weights[band];
        fit.correlations[scene.bandOrder[band]] = found.correlations[band];
    }
    if (!scene.HasInfrared()) return;
    fit.infraredWeight = found.weights.back();
    fit.infraredCorrelation = found.correlations.back();
}

} // namespace

bool FitWeights(const Scene& scene, const FitOptions& options, WeightFit& fit, SceneTally* tally,
                Status& status) {
    const std::size_t bands = scene.CountBands();
    fit = {};
    fit.obstacle = fitting::FindObstacle(bands);
    if (!fit.obstacle.empty()) return true;
    FitMoments moments(bands);
    SurveyBlock block;
    const std::vector<hostkit::PixelRect> rects = ChooseBlocks(scene, {});
    ReadAhead ahead;
    const bool isRead = ahead.InSteps(
        rects.size(), [&](std::size_t i) { AskForBlock(scene, rects[i], 0.0, ahead, i); },
        [&](std::size_t i) {
            if (!CheckWanted(options.isWanted, status) ||
                !block.Read(scene, rects[i], 0.0, options.bitDepth, status))
                return false;
            AddBlock(block, moments, tally);
            return true;
        });
    if (!isRead) return false;
    const bool keepsLast = scene.HasInfrared() && options.infraredWeight;
    Report(scene, fitting::FitShares(moments, bands, keepsLast ? &*options.infraredWeight : nullptr), fit);
    return true;
}

std::vector<std::string> JudgeFit(const Scene& scene, const WeightFit& fit) {
    std::vector<std::string> warnings;
    if (fit.rSquared < poorFit)
        warnings.push_back(FormatString(
            "no weights of the bands make up pan well (R² %.2f, below %.1f): the images may be shifted "
            "against each other, show clouds, be stretched, or be of different days",
            fit.rSquared, poorFit));
    std::string named, found;
    int count = 0;
    for (std::size_t written = 0; written < scene.outputBands; ++written) {
        const std::size_t band = scene.bandOrder[written];
        if (!(fit.correlations[band] < leastCorrelation)) continue;
        named += FormatString("%s%d", named.empty() ? "" : ", ", static_cast<int>(band) + 1);
        found += FormatString("%s%.2f", found.empty() ? "" : ", ", fit.correlations[band]);
        ++count;
    }
    if (count > 0)
        warnings.push_back(FormatString(
            "band%s %s do%s not follow pan (correlation %s, below %.1f): fusing harms such bands; leave them "
            "out of the result with --bands",
            count == 1 ? "" : "s", named.c_str(), count == 1 ? "es" : "", found.c_str(), leastCorrelation));
    return warnings;
}

} // namespace rasterhost
