#pragma once

#include "rasterhost/scene/Scene.h"

#include <array>

/// Bands that are asked for by what they are called.
namespace rasterhost {

/// Puts numbers into `bands` where a request names bands: opens the multispectral files to learn what theirs
/// are called. False with an item that lists them when there is no such band, or several.
[[nodiscard]] bool ResolveBands(PairRequest& request, Status& status);

/// What a picture shows of a scene.
struct ShownBands {
    std::array<std::size_t, 3> bands{}; ///< red, green and blue, of those that are written, from 0
    bool isGuessed = false;             ///< the first three were taken, since nothing tells the colours
};

/// Natural colours where all three are known among the bands written; the first band thrice where fewer than
/// three are written.
[[nodiscard]] ShownBands FindShownBands(const Scene& scene);

} // namespace rasterhost
