#pragma once

#include "fitting/FitBlock.h"

#include <cstdint>
#include <string>

namespace fitting {

/// The modulation transfers of the bands, at the Nyquist frequency of their pixels, that count as possible,
/// and the one for a pair from which it cannot be measured.
inline constexpr double leastTransfer = 0.2, greatestTransfer = 0.65, usualTransfer = 0.3;
/// Below this R² the blur of a pair cannot be measured.
inline constexpr double leastBlurRSquared = 0.5;

struct BlurFit {
    double transfer = usualTransfer; ///< in whole thousandths
    double rSquared = 0.0;           ///< of pan's low-pass, by the best blur, on the bands
    std::uint64_t samples = 0;
    std::string obstacle; ///< why it was not fitted and is the usual one; empty when it was
};

/// Finds the blur under which weighted bands and an offset make up pan's low-pass best, outliers left out;
/// then takes out the blur that pan has itself. One thread, always in the same order. False with an item when
/// an input cannot be read.
[[nodiscard]] bool FitBlur(FitBlockSource& source, BlurFit& fit, KOVA::Tessara::Fundament::Status& status);

} // namespace fitting
