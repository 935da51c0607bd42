#pragma once

#include "view/Request.h"
#include "view/ViewedScene.h"

#include <array>
#include <span>
#include <string>
#include <utility>

namespace view {

/// The lowest and highest sample that a stretch distinguishes.
using Stretch = std::pair<double, double>;

/// Encodes a tile as JPEG or PNG: three of the bands as red, green and blue, or the first band as grey if
/// there are fewer, with a stretch each. Pixels without data, and the part of the tile beyond the pixels, are
/// black in JPEG and transparent in PNG. Throws std::runtime_error when it cannot be made.
[[nodiscard]] std::string EncodeTile(const Pixels& pixels, std::span<const Stretch> stretches,
                                     TileFormat format);

} // namespace view
