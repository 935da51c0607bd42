#pragma once

#include "fitting/FitBlock.h"

#include <cstdint>
#include <string>

namespace fitting {

/// The range of modulation transfers, at the Nyquist frequency of the bands' pixels, that count as plausible,
/// and the default for a pair from which the transfer cannot be measured.
inline constexpr double leastTransfer = 0.2, greatestTransfer = 0.65, usualTransfer = 0.3;
/// Below this R squared the blur of a pair cannot be measured.
inline constexpr double leastBlurRSquared = 0.5;

struct BlurFit {
    double transfer = usualTransfer; ///< rounded to thousandths
    double rSquared = 0.0;           ///< of pan's low-pass, with the best blur, as a weighted sum of the
                                     ///< bands
    std::uint64_t samples = 0;
    std::string obstacle; ///< why the blur was not fitted and is the default; empty when it was fitted
};

/// Finds the blur of pan that weighted bands plus an offset reproduce best, without outliers; then corrects
/// for the blur that pan has itself. Uses one thread, always in the same order. False, with an item, when an
/// input cannot be read.
[[nodiscard]] bool FitBlur(FitBlockSource& source, BlurFit& fit, KOVA::Tessara::Fundament::Status& status);

} // namespace fitting
