#include "fitting/ShareFit.h"

#include "fundament/Text.h"

#include <algorithm>

namespace fitting {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr std::uint64_t leastSamplesPerWeight = 10;

std::string FindReason(const FitMoments& moments, const std::vector<double>& weights) {
    if (!moments.PanVaries()) return "no weights can be fitted: pan is the same everywhere";
    if (std::all_of(weights.begin(), weights.end(), [](double weight) { return weight == 0.0; }))
        return "no weight above 0 could be fitted: no band is bright where pan is";
    return {};
}

} // namespace

std::string FindObstacle(std::size_t bands) {
    if (bands <= mostFittedBands) return {};
    return FormatString("weights are fitted to %d bands at most, and there are %d",
                        static_cast<int>(mostFittedBands), static_cast<int>(bands));
}

ShareFit FitShares(const FitMoments& moments, std::size_t bands, const double* keptLast) {
    ShareFit fit;
    fit.samples = moments.GetCount();
    if (fit.samples < leastSamplesPerWeight * bands) {
        fit.obstacle =
            FormatString("too few multispectral pixels can be used to fit weights: %.0f lie wholly on pan, "
                         "have data and are not saturated",
                         static_cast<double>(fit.samples));
        return fit;
    }
    fit.weights = moments.Solve(keptLast);
    fit.obstacle = FindReason(moments, fit.weights);
    fit.rSquared = moments.GetRSquared(fit.weights);
    for (std::size_t band = 0; band < bands; ++band)
        fit.correlations.push_back(moments.GetCorrelation(band));
    return fit;
}

} // namespace fitting
