#pragma once

#include "imagery/ZeroCollar.h"
#include "rasterhost/fitting/SceneDetail.h"
#include "rasterhost/fitting/WeightFit.h"

#include <memory>
#include <optional>
#include <vector>

namespace rasterhost {

/// What was found in the pixels of a pair, so that it need not be searched again.
struct SceneFindings {
    /// One for pan, then one per image of the scene in order; null for an image without a collar.
    std::vector<std::shared_ptr<const imagery::ZeroCollar>> collars;
    std::optional<WeightFit> fit;    ///< if the weights were fitted
    std::optional<DetailFit> detail; ///< for a method that compares pan with its low-pass
};

} // namespace rasterhost
