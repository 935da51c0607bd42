#pragma once

#include "imagery/ZeroCollar.h"
#include "rasterhost/fitting/SceneDetail.h"
#include "rasterhost/fitting/WeightFit.h"

#include <memory>
#include <optional>
#include <vector>

namespace rasterhost {

/// What was found in the pixels of a pair once, so that nobody has to look again.
struct SceneFindings {
    /// Of pan, and of each image of the scene in its order; null where an image has none.
    std::vector<std::shared_ptr<const imagery::ZeroCollar>> collars;
    std::optional<WeightFit> fit;    ///< where the weights were fitted
    std::optional<DetailFit> detail; ///< for a method that compares pan with its low-pass
};

} // namespace rasterhost
