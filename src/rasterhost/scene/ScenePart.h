#pragma once

#include "rasterhost/scene/Scene.h"

namespace rasterhost {

/// Sets the part of the scene that a request names, in whole pan pixels. Corners are rounded to the nearest
/// pixel, and anything outside pan is cut off with a warning. False, with an item, when nothing is left or
/// pan has no position.
[[nodiscard]] bool ChoosePart(const PairRequest& request, Scene& scene, const Warn& warn, Status& status);

/// Reduces the part to the smallest window with all pan pixels whose centre lies on every other image. False,
/// with an item, when there is none.
[[nodiscard]] bool CutToIntersection(Scene& scene, Status& status);

/// Reduces the part to a window of it, given in pixels from its corner. Call it last, so that everything else
/// is found from the whole part. False, with an item, when the window does not lie within the part.
[[nodiscard]] bool CutToWindow(const hostkit::PixelRect& window, Scene& scene, Status& status);

} // namespace rasterhost
