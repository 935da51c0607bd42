#pragma once

#include "fitting/BandGains.h"

#include <optional>
#include <string>
#include <vector>

namespace cli {

/// The effective weights of an earlier run, or its blur and gains, in the order of the multispectral bands.
struct RunWeights {
    std::string method;        ///< as the plug-in spells it
    std::vector<double> bands; ///< empty if the run has gains
    std::optional<double> infrared;
    std::optional<double> transfer; ///< of the bands' blur
    std::vector<fitting::BandGains> gains;
};

/// Reads the object that a run printed with "--json". Throws UsageError when the file cannot be read or has
/// no such object, and when the run failed or has neither weights nor gains.
[[nodiscard]] RunWeights ReadRunWeights(const std::string& file);

} // namespace cli
