#pragma once

#include "fitting/BlurFit.h"
#include "fitting/GainFit.h"

#include <optional>
#include <string>
#include <vector>

namespace fitting {

/// What is known of the blur and the gains; the rest is fitted.
struct KnownDetail {
    std::optional<double> transfer; ///< of the bands' blur, 0.05 to 0.9
    std::vector<BandGains> gains;   ///< of each band; empty when not known
    /// Used when the blur cannot be measured, or only at a limit of the plausible range (BlurFit.h).
    std::optional<double> publishedTransfer = {};
};

/// Blur and gains of a pair for a method that compares pan with its low-pass: given or fitted.
struct DetailFit {
    double transfer = 0.0;                   ///< modulation transfer of the Gaussian
    std::optional<BlurFit> blur;             ///< empty when the transfer was given
    std::optional<double> publishedTransfer; ///< of the sensor, as given
    std::vector<BandGains> gains;            ///< of each band
    bool areGainsGiven = false;
    std::uint64_t samples = 0; ///< pixels one scale down that the gains were fitted to or are judged by
    double lowPassMean = 0.0;  ///< mean of pan's low-pass, in DN
    std::optional<double> error, plainError; ///< ERGAS one scale down, fused and upsampled (GainFit.h)
};

/// The fault in the known values for this many bands; empty when there is none.
[[nodiscard]] std::string FindFault(const KnownDetail& known, std::size_t bands);

/// Fits what is not known. The known values must have no fault. Only the first `judged` bands count for the
/// errors. False, with an item, when an input cannot be read.
[[nodiscard]] bool FitDetail(FitBlockSource& source, const KnownDetail& known, std::size_t judged,
                             DetailFit& fit, KOVA::Tessara::Fundament::Status& status);

} // namespace fitting
