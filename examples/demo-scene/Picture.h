#pragma once

#include "Image.h"

namespace demo {

/// Pan, upsampled and fused side by side, one picture pixel an image pixel, a white gap between, all with one
/// linear stretch: the 1st and the 99th hundredth of the fused image's colours become black and white.
/// `colours` are the bands, counted from 0, shown as red, green and blue.
[[nodiscard]] Image SideBySide(const Image& pan, const Image& upsampled, const Image& fused,
                               const std::array<std::size_t, 3>& colours);

} // namespace demo
