#pragma once

#include "rasterhost/scene/Scene.h"

namespace rasterhost {

/// Opens the multispectral files of a request, an image for each grid, not placed yet; its bands are
/// positions in the request. Never none; false with an item.
[[nodiscard]] bool OpenGrids(const std::vector<InputBand>& inputs, const SampleOptions& options,
                             std::vector<PlacedImage>& grids, Status& status);

/// Checks the bands asked for, counted from 1, against how many there are. False with an item.
[[nodiscard]] bool CheckBandList(const std::vector<int>& wanted, std::size_t count, Status& status);

/// Sets the scene's order of bands: those wanted first, counted from 1, or all when none is named. False with
/// an item when there is no such band.
[[nodiscard]] bool OrderBands(const std::vector<int>& wanted, const std::vector<PlacedImage>& grids,
                              Scene& scene, Status& status);

/// Makes grids that were placed on pan those of the scene, the one of the largest pixels first, with their
/// bands in the scene's order.
void TakeGrids(std::vector<PlacedImage> grids, Scene& scene);

} // namespace rasterhost
