#include "quality/GaussianAxis.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quality {

namespace {

constexpr double reach = 3.5; // standard deviations
/// A Gaussian this narrow, in fine pixels, uses only the nearest pixel, and its weight is still above 0.
constexpr double leastSigma = 0.02;

} // namespace

/// exp(-2 pi^2 sigma^2 f^2) with f = 1/2.
double SigmaOf(double transfer) { return std::sqrt(-2.0 * std::log(transfer)) / std::numbers::pi; }

GaussianAxis::GaussianAxis(std::span<const Target> targets, double step, std::span<const double> transfers)
    : weights(transfers.size()) {
    const double radius = reach * step * SigmaOf(*std::min_element(transfers.begin(), transfers.end()));
    for (const Target& target : targets) {
        const auto first = static_cast<std::int64_t>(std::ceil(target.centre - radius - 0.5));
        const auto last = static_cast<std::int64_t>(std::floor(target.centre + radius - 0.5));
        taps.push_back({0, 0, weights.front().size()});
        if (first < target.begin || last >= target.end || first > last) continue;
        taps.back().first = static_cast<std::size_t>(first);
        taps.back().count = static_cast<std::size_t>(last - first + 1);
        for (std::size_t band = 0; band < transfers.size(); ++band) {
            double sum = 0.0;
            // For a narrower one all weights are 0: then this one's are used.
            for (double sigma = step * SigmaOf(transfers[band]); sum == 0.0; sigma = leastSigma) {
                weights[band].resize(taps.back().weights);
                for (std::int64_t i = first; i <= last; ++i) {
                    const double distance = (static_cast<double>(i) + 0.5 - target.centre) / sigma;
                    weights[band].push_back(std::exp(-0.5 * distance * distance));
                    sum += weights[band].back();
                }
            }
            for (std::size_t i = taps.back().weights; i < weights[band].size(); ++i)
                weights[band][i] /= sum;
        }
    }
}

std::pair<std::uint32_t, std::uint32_t> GaussianAxis::GetReach() const {
    std::size_t first = 0, end = 0;
    for (const Taps& each : taps) {
        if (each.count == 0) continue;
        first = end == 0 ? each.first : std::min(first, each.first);
        end = std::max(end, each.first + each.count);
    }
    return {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(end)};
}

std::vector<GaussianAxis::Target> GaussianAxis::Regular(std::size_t count, double step, double corner,
                                                        std::int64_t finePixels) {
    std::vector<Target> targets;
    for (std::size_t i = 0; i < count; ++i)
        targets.push_back({corner + (static_cast<double>(i) + 0.5) * step, 0, finePixels});
    return targets;
}

} // namespace quality
