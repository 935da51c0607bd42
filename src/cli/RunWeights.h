#pragma once

#include <optional>
#include <string>
#include <vector>

namespace cli {

/// What an earlier run weighed the bands with: its effective weights.
struct RunWeights {
    std::string method;        ///< as the plug-in writes it
    std::vector<double> bands; ///< one or more, in the order of the multispectral bands
    std::optional<double> infrared;
};

/// From the object that a run printed with "--json". Throws UsageError when the file cannot be read, holds no
/// such object, or the run failed or weighed no bands.
[[nodiscard]] RunWeights ReadRunWeights(const std::string& file);

} // namespace cli
