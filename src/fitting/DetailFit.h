#pragma once

#include "fitting/BlurFit.h"
#include "fitting/GainFit.h"

#include <optional>
#include <string>
#include <vector>

namespace fitting {

/// What is given of the blur and the gains; the rest is fitted.
struct KnownDetail {
    std::optional<double> transfer; ///< of the bands' blur, 0.05 to 0.9
    std::vector<BandGains> gains;   ///< of each band; empty when they are not known
    /// Taken where the blur cannot be measured, or only one at the limits of the possible (BlurFit.h).
    std::optional<double> publishedTransfer = {};
};

/// Blur and gains of a pair whose pan is compared with pan's low-pass: given or fitted.
struct DetailFit {
    double transfer = 0.0;                   ///< of the Gaussian
    std::optional<BlurFit> blur;             ///< none when the transfer was given
    std::optional<double> publishedTransfer; ///< of the sensor, as it was told
    std::vector<BandGains> gains;            ///< of each band
    bool areGainsGiven = false;
    std::uint64_t samples = 0; ///< one scale down, that the gains were fitted to or are judged by
    double lowPassMean = 0.0;  ///< of pan's low-pass
    std::optional<double> error, plainError; ///< ERGAS one scale down, fused and merely upsampled (GainFit.h)
};

/// What is wrong with the values given for this many bands; empty when nothing is.
[[nodiscard]] std::string FindFault(const KnownDetail& known, std::size_t bands);

/// Fits what is not known. What is known must have no fault. The first `judged` bands count for the errors.
/// False with an item when an input cannot be read.
[[nodiscard]] bool FitDetail(FitBlockSource& source, const KnownDetail& known, std::size_t judged,
                             DetailFit& fit, KOVA::Tessara::Fundament::Status& status);

} // namespace fitting
