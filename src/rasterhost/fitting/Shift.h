#pragma once

#include "fitting/ShiftFit.h"

#include <optional>

namespace rasterhost {

struct Scene;

using fitting::Shift;

/// Measures how far the multispectral content of a scene is displaced. Empty when it cannot be measured.
/// False, with an item, when an input cannot be read.
[[nodiscard]] bool MeasureShift(const Scene& scene, std::optional<int> bitDepth, std::optional<Shift>& shift,
                                KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
