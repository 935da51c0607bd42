#pragma once

#include "view/Request.h"
#include "view/ViewedScene.h"

#include <array>
#include <span>
#include <string>
#include <utility>

namespace view {

/// The least and greatest sample that a stretch tells apart.
using Stretch = std::pair<double, double>;

/// A tile of a picture as JPEG or PNG: three of the pixels' bands as red, green and blue, or the first as
/// grey where there are fewer, with a stretch each. What the tile has beyond the pixels, and pixels without
/// data, are black in JPEG and transparent in PNG. Throws std::runtime_error when it cannot be made.
[[nodiscard]] std::string EncodeTile(const Pixels& pixels, std::span<const Stretch> stretches,
                                     TileFormat format);

} // namespace view
