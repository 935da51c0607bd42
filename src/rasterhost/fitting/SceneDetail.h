#pragma once

#include "fitting/DetailFit.h"
#include "rasterhost/scene/Scene.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

using fitting::DetailFit;

/// Fits to the blocks of a scene what the request leaves open. Gains are in the order of the request; those
/// that it gives must have no fault (fitting::FindFault). False, with an item, when an input cannot be read,
/// or when `isWanted`, called before each block, returns false.
[[nodiscard]] bool FitDetail(const Scene& scene, const FusionRequest& request, std::optional<int> bitDepth,
                             DetailFit& fit, Status& status, const std::function<bool()>& isWanted = {});

/// Warnings about a fit.
[[nodiscard]] std::vector<std::string> JudgeDetail(const DetailFit& fit);

} // namespace rasterhost
