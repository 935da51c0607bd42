#pragma once

#include "rasterhost/scene/Scene.h"

namespace rasterhost {

/// Opens the multispectral files of a request, with one image per grid, not placed yet. The `bands` of an
/// image are positions in the request. At least one image; false with an item.
[[nodiscard]] bool OpenGrids(const std::vector<InputBand>& inputs, const SampleOptions& options,
                             std::vector<PlacedImage>& grids, Status& status);

/// Checks the requested band numbers, counted from 1, against the number of bands. False with an item.
[[nodiscard]] bool CheckBandList(const std::vector<int>& wanted, std::size_t count, Status& status);

/// Sets the scene's order of bands: the requested ones, counted from 1, come first; all bands are written if
/// the request is empty. False, with an item, when a band does not exist.
[[nodiscard]] bool OrderBands(const std::vector<int>& wanted, const std::vector<PlacedImage>& grids,
                              Scene& scene, Status& status);

/// Moves grids that were placed on pan into the scene, the one with the largest pixels first, with their
/// bands in the scene's order.
void TakeGrids(std::vector<PlacedImage> grids, Scene& scene);

} // namespace rasterhost
