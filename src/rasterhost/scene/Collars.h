#pragma once

#include "rasterhost/scene/Scene.h"

#include <functional>

namespace rasterhost {

enum class CollarSearch { Done, Failed, Cancelled };

/// Looks in every image of a scene for a collar of zeros that nobody declared: where at least a twentieth of
/// its edge is 0 in all bands, the whole image is read once and what is connected with the edge counts as
/// no data from then on, with a warning. An image whose files tell where it has no data, by a mask or by the
/// value 0, is believed. An image that then has no pixel with data, or is 0 throughout, fails. `keepOn` is
/// asked between blocks and may be empty; Failed comes with an item.
[[nodiscard]] CollarSearch FindCollars(Scene& scene, const Warn& warn, const std::function<bool()>& keepOn,
                                       Status& status);

} // namespace rasterhost
