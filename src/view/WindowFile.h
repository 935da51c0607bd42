#pragma once

#include "view/MemoryBudget.h"
#include "view/ViewedScene.h"

#include <string>

namespace view {

/// A window of the scene, in its pixels, as a GeoTIFF in memory, with the name and position that the command
/// would give it. It takes a share of the budget as long as it is kept. Throws BadRequest for more than 64 MB
/// of samples, and when the budget is used up at the moment.
[[nodiscard]] std::shared_ptr<const std::string>
MakeWindowFile(ViewedScene& scene, const Look& look, const hostkit::PixelRect& window, MemoryBudget& budget);

} // namespace view
