#pragma once

#include "view/ViewedScene.h"

#include <string>

namespace view {

/// A window of the scene, in pixels of it, as a GeoTIFF in memory: named and placed as the command would
/// write it. Throws BadRequest for one of more than 64 MB.
[[nodiscard]] std::string MakeWindowFile(ViewedScene& scene, const Look& look,
                                         const hostkit::PixelRect& window);

} // namespace view
