#pragma once

#include "view/MemoryBudget.h"
#include "view/ViewedScene.h"

#include <string>

namespace view {

/// A window of the scene, in pixels of it, as a GeoTIFF in memory: named and placed as the command would
/// write it. It takes its share of the budget for as long as it is kept. Throws BadRequest for one of more
/// than 64 MB of samples, and where the budget does not suffice for now.
[[nodiscard]] std::shared_ptr<const std::string>
MakeWindowFile(ViewedScene& scene, const Look& look, const hostkit::PixelRect& window, MemoryBudget& budget);

} // namespace view
