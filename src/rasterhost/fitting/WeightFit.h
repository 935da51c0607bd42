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

/// How well weighted bands make up pan, and with which weights: of the multispectral bands in the order of
/// the request.
struct WeightFit {
    std::vector<double> weights;      ///< 0 or more; empty when there are too few samples
    std::vector<double> correlations; ///< of each band with pan brought down to its pixels
    std::optional<double> infraredWeight;
    std::optional<double> infraredCorrelation;
    double rSquared = 0.0; ///< 1 - the sum of squares left over / that about the mean of pan
    std::uint64_t samples = 0;
    std::string obstacle; ///< why the weights cannot be used; empty when they can
};

struct FitOptions {
    std::optional<int> bitDepth;          ///< of the samples, when it differs from what the images say
    std::optional<double> infraredWeight; ///< when it is not to be fitted
    /// Asked before each block; the fit fails as cancelled once it answers false. May be empty.
    std::function<bool()> isWanted = {};
};

/// Fits weights without an offset by non-negative least squares: pan, averaged over the footprint of each
/// multispectral pixel, on the bands there, the infrared one included (its mean over that pixel). From a
/// sample of blocks (SceneSurvey.h), whose pixels without data or with saturated samples are left out; one
/// thread, always in the same order. `tally`, when not null, gets what was seen. False with an item when an
/// input cannot be read.
[[nodiscard]] bool FitWeights(const Scene& scene, const FitOptions& options, WeightFit& fit,
                              SceneTally* tally, KOVA::Tessara::Fundament::Status& status);

/// What a fit whose weights can be used says against the run, the worst first. Bands that are not written are
/// not judged.
[[nodiscard]] std::vector<std::string> JudgeFit(const Scene& scene, const WeightFit& fit);

} // namespace rasterhost
