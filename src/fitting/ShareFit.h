#pragma once

#include "fitting/FitMoments.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fitting {

/// The share of each band in pan, fitted, and how well the bands make up pan with it.
struct ShareFit {
    std::vector<double> weights;      ///< 0 or more; empty when there are too few samples
    std::vector<double> correlations; ///< of each band with pan brought down to its pixels
    double rSquared = 0.0;            ///< 1 - the sum of squares left over / that about the mean of pan
    std::uint64_t samples = 0;
    std::string obstacle; ///< why the weights cannot be used; empty when they can
};

/// Why this many bands cannot be fitted; empty when they can.
[[nodiscard]] std::string FindObstacle(std::size_t bands);

/// By non-negative least squares without an offset. The weight of the last band is kept at `keptLast`, where
/// that is not null.
[[nodiscard]] ShareFit FitShares(const FitMoments& moments, std::size_t bands, const double* keptLast);

} // namespace fitting
