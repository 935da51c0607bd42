#pragma once

#include "view/ViewedScene.h"

#include <string>
#include <vector>

/// What a page is told of a scene, as objects of JSON. What is asked for in vain throws BadRequest.
namespace view {

/// The grid of tiles, the bands, the methods, and how the scene is fused unless something else is asked for.
[[nodiscard]] std::string SceneJson(const ViewedScene& scene, const std::string& version);

/// Weights, or blur and gains, that a look is fused with.
[[nodiscard]] std::string ParametersJson(const Settled& settled);

/// The values of a pixel in pan, in the bands merely upsampled, and sharpened.
[[nodiscard]] std::string SampleJson(ViewedScene& scene, const Request& request);

/// The command line that makes what is seen.
[[nodiscard]] std::string CommandJson(ViewedScene& scene, const Request& request);

/// The bands that are shown as red, green and blue, or as grey, where a look names none or more.
[[nodiscard]] std::vector<int> ShownBands(const ViewedScene& scene, const Look& look);

} // namespace view
