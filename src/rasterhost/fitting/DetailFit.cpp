#include "rasterhost/fitting/DetailFit.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"
#include "rasterhost/fitting/SceneFitBlocks.h"

#include <algorithm>
#include <cmath>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;

namespace {

/// Of given ones. Below, the Gaussian reaches further than any sensor's; above, not to the next pixel.
constexpr double leastGiven = 0.05, greatestGiven = 0.9;

bool CheckGiven(const FusionRequest& request, std::size_t bands, Status& status) {
    if (request.transfer && !(*request.transfer >= leastGiven && *request.transfer <= greatestGiven))
        return Fail(status, HostStatus::RequestInvalid,
                    "the modulation transfer %s is none; give a number from %s to %s",
                    NumberText(*request.transfer).c_str(), NumberText(leastGiven).c_str(),
                    NumberText(greatestGiven).c_str());
    if (!request.gains.empty() && request.gains.size() != bands)
        return Fail(status, HostStatus::RequestInvalid,
                    "%zu pairs of gains are given for %zu multispectral bands; give one for "
                    "each, in the order of the bands",
                    request.gains.size(), bands);
    for (std::size_t band = 0; band < request.gains.size(); ++band) {
        const auto& [gain, ratioGain] = request.gains[band];
        if (!(gain >= 0.0 && ratioGain >= 0.0 && std::isfinite(gain) && std::isfinite(ratioGain)))
            return Fail(status, HostStatus::RequestInvalid,
                        "the gains of band %zu are %s and %s; give numbers of 0 or more", band + 1,
                        NumberText(gain).c_str(), NumberText(ratioGain).c_str());
    }
    return true;
}

} // namespace

bool FitDetail(const Scene& scene, const FusionRequest& request, std::optional<int> bitDepth, DetailFit& fit,
               Status& status) {
    const std::size_t bands = scene.bandOrder.size();
    fit = {};
    if (!CheckGiven(request, bands, status)) return false;
    SceneFitBlocks blocks(scene, bitDepth);
    if (!request.transfer) {
        fit.blur.emplace();
        if (!FitBlur(blocks, *fit.blur, status)) return false;
    }
    fit.transfer = request.transfer ? *request.transfer : fit.blur->transfer;
    std::vector<BandGains> given(request.gains.size());
    for (std::size_t band = 0; band < given.size(); ++band)
        given[band] = request.gains[scene.bandOrder[band]];
    fitting::GainFit gains;
    if (!FitGains(blocks, fit.transfer, given, scene.outputBands, gains, status)) return false;
    fit.areGainsGiven = !given.empty();
    fit.gains.resize(bands);
    for (std::size_t band = 0; band < bands; ++band)
        fit.gains[scene.bandOrder[band]] = gains.gains[band];
    fit.samples = gains.samples;
    fit.lowPassMean = gains.lowPassMean;
    fit.error = gains.error;
    fit.plainError = gains.plainError;
    return true;
}

std::vector<std::string> JudgeDetail(const DetailFit& fit) {
    std::vector<std::string> warnings;
    if (fit.blur && !fit.blur->obstacle.empty())
        warnings.push_back(
            FormatString("the blur of the bands cannot be measured: %s; a modulation transfer of "
                         "%s is used; give another with --mtf",
                         fit.blur->obstacle.c_str(), NumberText(fit.transfer).c_str()));
    if (!fit.areGainsGiven && !fit.error)
        warnings.push_back(
            FormatString("too few pixels are left one scale down to fit gains to (%.0f): those of a "
                         "rule of thumb are used; give others with --gains",
                         static_cast<double>(fit.samples)));
    const auto isZero = [](const BandGains& of) { return of == BandGains(); };
    if (std::all_of(fit.gains.begin(), fit.gains.end(), isZero))
        warnings.emplace_back(
            fit.areGainsGiven ? "all gains are 0: nothing of pan comes into the bands"
                              : "no band follows pan's detail one scale down: nothing of pan comes into the "
                                "bands; are the two of the same place and day, and is there detail in pan?");
    return warnings;
}

} // namespace rasterhost
