#pragma once

#include "fitting/BlurFit.h"
#include "fitting/GainFit.h"
#include "rasterhost/scene/Scene.h"

#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

using fitting::BlurFit;

/// What a run knows of a pair whose pan it compares with pan's low-pass: given, or fitted.
struct DetailFit {
    double transfer = 0.0;        ///< of the Gaussian
    std::optional<BlurFit> blur;  ///< none when the transfer was given
    std::vector<BandGains> gains; ///< of the multispectral bands in the order of the request
    bool areGainsGiven = false;
    std::uint64_t samples = 0; ///< one scale down, that the gains were fitted to or are judged by
    double lowPassMean = 0.0;  ///< of pan's low-pass
    std::optional<double> error, plainError; ///< ERGAS one scale down, fused and merely upsampled (GainFit.h)
};

/// Fits what the request leaves open. False with an item when the request's transfer or gains cannot be used
/// or an input cannot be read.
[[nodiscard]] bool FitDetail(const Scene& scene, const FusionRequest& request, std::optional<int> bitDepth,
                             DetailFit& fit, Status& status);

/// What a fit says against the run.
[[nodiscard]] std::vector<std::string> JudgeDetail(const DetailFit& fit);

} // namespace rasterhost
