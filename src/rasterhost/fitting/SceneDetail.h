#pragma once

#include "fitting/DetailFit.h"
#include "rasterhost/scene/Scene.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace rasterhost {

using fitting::DetailFit;

/// Fits what the request leaves open, to the blocks of a scene; the gains are in the order of the request.
/// Those that it gives have no fault (fitting::FindFault). False with an item when an input cannot be read,
/// or once `isWanted`, asked before each block, answers false.
[[nodiscard]] bool FitDetail(const Scene& scene, const FusionRequest& request, std::optional<int> bitDepth,
                             DetailFit& fit, Status& status, const std::function<bool()>& isWanted = {});

/// What a fit warns of.
[[nodiscard]] std::vector<std::string> JudgeDetail(const DetailFit& fit);

} // namespace rasterhost
