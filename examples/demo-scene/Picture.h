#pragma once

#include "Image.h"

namespace demo {

/// Pan, the upsampled and the fused image side by side at their own pixels, with a white gap between. All
/// have the same linear stretch, from the 1st to the 99th percentile of the fused image's colours. `colours`
/// are the bands shown as red, green and blue, counted from 0.
[[nodiscard]] Image SideBySide(const Image& pan, const Image& upsampled, const Image& fused,
                               const std::array<std::size_t, 3>& colours);

} // namespace demo
