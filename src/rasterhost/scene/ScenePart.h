#pragma once

#include "rasterhost/scene/Scene.h"

namespace rasterhost {

/// Sets the part of the scene that a request names, in whole pan pixels: corners go to the nearest, and what
/// lies outside pan is left out with a warning. False with an item when nothing is left or pan has no
/// position.
[[nodiscard]] bool ChoosePart(const PairRequest& request, Scene& scene, const Warn& warn, Status& status);

/// Narrows the part to the smallest window with all pan pixels whose centre lies on all the other images.
/// False with an item when there is none.
[[nodiscard]] bool CutToIntersection(Scene& scene, Status& status);

/// Narrows the part to a window of it, in pixels from its corner, once all else is known of the scene: what
/// follows is that of the whole. False with an item when the window does not lie within the part.
[[nodiscard]] bool CutToWindow(const hostkit::PixelRect& window, Scene& scene, Status& status);

} // namespace rasterhost
