#pragma once

#include "fundament/Status.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

struct Scene;
struct SceneTally;

/// How well weighted bands reproduce pan, and with which weights. Weights are in the order of the request.
struct WeightFit {
    std::vector<double> weights;      ///< 0 or more; empty when there are too few samples
    std::vector<double> correlations; ///< of each band with pan, averaged over the band's pixels
    std::optional<double> infraredWeight;
    std::optional<double> infraredCorrelation;
    double rSquared = 0.0; ///< 1 - sum of squared residuals / sum of squares around pan's mean
    std::uint64_t samples = 0;
    std::string obstacle; ///< why the weights cannot be used; empty when they can
};

struct FitOptions {
    std::optional<int> bitDepth;          ///< of the samples, if it differs from what the images declare
    std::optional<double> infraredWeight; ///< set if it is not to be fitted
    /// Called before each block; the fit ends as cancelled once it returns false. May be empty.
    std::function<bool()> isWanted = {};
};

/// Fits weights by non-negative least squares without an offset: pan, averaged over the footprint of each
/// multispectral pixel, as a weighted sum of the bands there, including the mean of the infrared band over
/// that pixel. Uses a sample of blocks (SceneSurvey.h) without pixels that have no data or saturated samples.
/// One thread, always in the same order. `tally`, if not null, gets counts of what was read. False, with an
/// item, when an input cannot be read.
[[nodiscard]] bool FitWeights(const Scene& scene, const FitOptions& options, WeightFit& fit,
                              SceneTally* tally, KOVA::Tessara::Fundament::Status& status);

/// Warnings about a usable fit, the most serious first. Bands that are not written are not judged.
[[nodiscard]] std::vector<std::string> JudgeFit(const Scene& scene, const WeightFit& fit);

} // namespace rasterhost
