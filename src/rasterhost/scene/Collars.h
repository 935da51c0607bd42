#pragma once

#include "rasterhost/scene/Scene.h"

#include <functional>

namespace rasterhost {

enum class CollarSearch { Done, Failed, Cancelled };

/// Looks in every image of a scene for an undeclared collar of zeros. If at least a twentieth of an image's
/// edge is 0 in all bands, the whole image is read once, and zeros connected to the edge then count as no
/// data, with a warning. An image is not searched if its files mark no data by a mask or by the value 0.
/// Fails for an image that has no pixel with data or consists of zeros. `keepOn` is called between blocks and
/// may be empty. Failed comes with an item.
[[nodiscard]] CollarSearch FindCollars(Scene& scene, const Warn& warn, const std::function<bool()>& keepOn,
                                       Status& status);

} // namespace rasterhost
