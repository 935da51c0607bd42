#pragma once

#include "fitting/BandGains.h"
#include "fitting/FitBlock.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace fitting {

struct GainFit {
    std::vector<BandGains> gains; ///< of each band; rounded to ten-thousandths if fitted
    std::uint64_t samples = 0;    ///< pixels one scale down
    bool isFitted = false;        ///< false for given gains, and for the rule of thumb used with few samples
    double lowPassMean = 0.0;     ///< mean of pan's low-pass over the blocks, in DN; 0 when nothing is usable
    /// ERGAS (docs/quality.md) one scale down of the judged bands: fused, and upsampled without fusing. Empty
    /// without enough samples. The result may differ at full size, since pan's detail is coarser one scale
    /// down.
    std::optional<double> error, plainError;
};

/// Fits the gains one scale down, where the truth is known: the bands are degraded by their own blur and
/// ratio, and pan's low-pass takes the place of pan. Per band, non-negative least squares for both gains.
/// `given` gains, one per band, are judged instead of being fitted. Only the first `judged` bands count for
/// the errors. Uses one thread, always in the same order. False, with an item, when an input cannot be read.
[[nodiscard]] bool FitGains(FitBlockSource& source, double transfer, const std::vector<BandGains>& given,
                            std::size_t judged, GainFit& fit, KOVA::Tessara::Fundament::Status& status);

} // namespace fitting
