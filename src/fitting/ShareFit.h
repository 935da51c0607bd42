#pragma once

#include "fitting/FitMoments.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fitting {

/// The fitted share of each band in pan, and how well the bands reproduce pan with it.
struct ShareFit {
    std::vector<double> weights;      ///< 0 or more; empty when there are too few samples
    std::vector<double> correlations; ///< of each band with pan, averaged over the band's pixels
    double rSquared = 0.0;            ///< 1 - sum of squared residuals / sum of squares around pan's mean
    std::uint64_t samples = 0;
    std::string obstacle; ///< why the weights cannot be used; empty when they can
};

/// Why this many bands cannot be fitted; empty when they can.
[[nodiscard]] std::string FindObstacle(std::size_t bands);

/// Fits shares by non-negative least squares without an offset. With `keptLast` the weight of the last band
/// is fixed at that number.
[[nodiscard]] ShareFit FitShares(const FitMoments& moments, std::size_t bands, const double* keptLast);

} // namespace fitting
