#pragma once

#include "view/ViewedScene.h"

#include <string>
#include <vector>

/// JSON objects about a scene for the page. Requests that cannot be met throw BadRequest.
namespace view {

/// The grid of tiles, the bands, the methods, and how the scene is fused by default.
[[nodiscard]] std::string SceneJson(const ViewedScene& scene, const std::string& version);

/// The weights, or blur and gains, of a look.
[[nodiscard]] std::string ParametersJson(const Settled& settled);

/// The values of a pixel in pan, in the upsampled bands, and in the sharpened image.
[[nodiscard]] std::string SampleJson(ViewedScene& scene, const Request& request);

/// The command line that makes what is shown.
[[nodiscard]] std::string CommandJson(ViewedScene& scene, const Request& request);

/// The bands shown as red, green and blue, or as grey, if a look names none or more than are shown.
[[nodiscard]] std::vector<int> ShownBands(const ViewedScene& scene, const Look& look);

} // namespace view
