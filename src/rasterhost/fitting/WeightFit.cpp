#include "rasterhost/fitting/WeightFit.h"

#include "fitting/FitMoments.h"
#include "fundament/Text.h"
#include "rasterhost/fitting/SceneSurvey.h"

#include <algorithm>

namespace rasterhost {

using fitting::FitMoments;
using fitting::mostFittedBands;

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr std::uint64_t leastSamplesPerWeight = 10;
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

std::string FindObstacle(const FitMoments& moments, const std::vector<double>& weights) {
    if (!moments.PanVaries()) return "no weights can be fitted: pan is the same everywhere";
    if (std::all_of(weights.begin(), weights.end(), [](double weight) { return weight == 0.0; }))
        return "no weight above 0 could be fitted: no band is bright where pan is";
    return {};
}

/// Brings what was found into the order of the request.
void Report(const Scene& scene, const FitMoments& moments, std::vector<double> weights, WeightFit& fit) {
    const std::size_t bands = scene.bandOrder.size();
    fit.obstacle = FindObstacle(moments, weights);
    fit.rSquared = moments.GetRSquared(weights);
    fit.weights.resize(bands);
    fit.correlations.resize(bands);
    for (std::size_t band = 0; band < bands; ++band) {
        fit.weights[scene.bandOrder[band]] = weights[band];
        fit.correlations[scene.bandOrder[band]] = moments.GetCorrelation(band);
    }
    if (!scene.HasInfrared()) return;
    fit.infraredWeight = weights.back();
    fit.infraredCorrelation = moments.GetCorrelation(bands);
}

} // namespace

bool FitWeights(const Scene& scene, const FitOptions& options, WeightFit& fit, SceneTally* tally,
                Status& status) {
    const std::size_t bands = scene.CountBands();
    fit = {};
    if (bands > mostFittedBands) {
        fit.obstacle = FormatString("weights are fitted to %d bands at most, and there are %d",
                                    static_cast<int>(mostFittedBands), static_cast<int>(bands));
        return true;
    }
    FitMoments moments(bands);
    SurveyBlock block;
    for (const hostkit::PixelRect& rect : ChooseBlocks(scene, {})) {
        if (!block.Read(scene, rect, 0.0, options.bitDepth, status)) return false;
        AddBlock(block, moments, tally);
    }
    fit.samples = moments.GetCount();
    if (fit.samples < leastSamplesPerWeight * bands) {
        fit.obstacle =
            FormatString("too few multispectral pixels can be used to fit weights: %.0f lie wholly on pan, "
                         "have data and are not saturated",
                         static_cast<double>(fit.samples));
        return true;
    }
    const bool keepsLast = scene.HasInfrared() && options.infraredWeight;
    Report(scene, moments, moments.Solve(keepsLast ? &*options.infraredWeight : nullptr), fit);
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
