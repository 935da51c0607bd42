#include "fitting/DetailFit.h"

#include "fundament/Numbers.h"
#include "fundament/Text.h"

#include <cmath>
#include <utility>

namespace fitting {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::NumberText;

namespace {

/// Limits of a given transfer. Below, the Gaussian is wider than that of any sensor; above, it does not reach
/// the next pixel.
constexpr double leastKnown = 0.05, greatestKnown = 0.9;

/// Takes the published transfer if the fit has failed, or has ended at a limit of the plausible range, as a
/// shift between the images can cause.
void PreferPublished(double published, BlurFit& blur) {
    const bool isAtLimit = blur.transfer <= leastTransfer || blur.transfer >= greatestTransfer;
    if (blur.obstacle.empty() && !isAtLimit) return;
    if (blur.obstacle.empty())
        blur.obstacle = FormatString("%s, as measured, is the limit of what sensors have",
                                     NumberText(blur.transfer).c_str());
    blur.transfer = published;
}

} // namespace

std::string FindFault(const KnownDetail& known, std::size_t bands) {
    if (known.transfer && !(*known.transfer >= leastKnown && *known.transfer <= greatestKnown))
        return FormatString("the modulation transfer %s is out of range; give a number from %s to %s",
                            NumberText(*known.transfer).c_str(), NumberText(leastKnown).c_str(),
                            NumberText(greatestKnown).c_str());
    if (!known.gains.empty() && known.gains.size() != bands)
        return FormatString("%zu pairs of gains are given for %zu multispectral bands; give one for each, in "
                            "the order of the bands",
                            known.gains.size(), bands);
    for (std::size_t band = 0; band < known.gains.size(); ++band) {
        const auto& [gain, ratioGain] = known.gains[band];
        if (!(gain >= 0.0 && ratioGain >= 0.0 && std::isfinite(gain) && std::isfinite(ratioGain)))
            return FormatString("the gains of band %zu are %s and %s; give numbers of 0 or more", band + 1,
                                NumberText(gain).c_str(), NumberText(ratioGain).c_str());
    }
    return {};
}

bool FitDetail(FitBlockSource& source, const KnownDetail& known, std::size_t judged, DetailFit& fit,
               KOVA::Tessara::Fundament::Status& status) {
    fit = {};
    if (!known.transfer) {
        fit.blur.emplace();
        if (!FitBlur(source, *fit.blur, status)) return false;
        fit.publishedTransfer = known.publishedTransfer;
        if (known.publishedTransfer) PreferPublished(*known.publishedTransfer, *fit.blur);
    }
    fit.transfer = known.transfer ? *known.transfer : fit.blur->transfer;
    GainFit gains;
    if (!FitGains(source, fit.transfer, known.gains, judged, gains, status)) return false;
    fit.areGainsGiven = !known.gains.empty();
    fit.gains = std::move(gains.gains);
    fit.samples = gains.samples;
    fit.lowPassMean = gains.lowPassMean;
    fit.error = gains.error;
    fit.plainError = gains.plainError;
    return true;
}

} // namespace fitting
