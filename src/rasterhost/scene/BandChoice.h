#pragma once

#include "rasterhost/scene/Scene.h"

#include <array>

/// Selection of bands by name.
namespace rasterhost {

/// Converts the band names of a request to numbers in `bands`; opens the multispectral files to read their
/// names. False, with an item that lists them, when a name fits no band or several.
[[nodiscard]] bool ResolveBands(PairRequest& request, Status& status);

/// The bands of a scene that a picture shows.
struct ShownBands {
    std::array<std::size_t, 3> bands{}; ///< red, green and blue, counted from 0 among the bands written
    bool isGuessed = false;             ///< the first three were taken because the colours are unknown
};

/// Natural colours if all three are among the bands written. If fewer than three bands are written, the first
/// band three times.
[[nodiscard]] ShownBands FindShownBands(const Scene& scene);

} // namespace rasterhost
