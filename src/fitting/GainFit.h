#pragma once

#include "fitting/BandGains.h"
#include "fitting/FitBlock.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace fitting {

struct GainFit {
    std::vector<BandGains> gains; ///< of each band, in ten-thousandths when they were fitted
    std::uint64_t samples = 0;    ///< one scale down
    bool isFitted = false;        ///< false for given gains, and for a rule of thumb where samples are few
    double lowPassMean = 0.0;     ///< of pan's low-pass over the blocks; 0 when nothing is usable
    /// ERGAS (docs/quality.md) one scale down of the bands judged, fused and merely upsampled; none without
    /// enough samples. What is true there need not be so at full size: pan's detail is coarser too.
    std::optional<double> error, plainError;
};

/// Fits the gains where the truth is known: the bands degraded once more by their own blur and ratio, pan's
/// low-pass standing for pan. For each band the least squares under 0 or more of both. `given` gains, one for
/// each band, are judged in their stead. The first `judged` bands count for the errors. One thread,
/// always in the same order. False with an item when an input cannot be read.
[[nodiscard]] bool FitGains(FitBlockSource& source, double transfer, const std::vector<BandGains>& given,
                            std::size_t judged, GainFit& fit, KOVA::Tessara::Fundament::Status& status);

} // namespace fitting
