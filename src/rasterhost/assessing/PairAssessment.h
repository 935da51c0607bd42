#pragma once

#include "rasterhost/assessing/Assess.h"
#include "rasterhost/scene/Scene.h"

#include <vector>

namespace rasterhost {

/// Compares a fused image, and plain bilinear upsampling, with the pair that the image was made from, at
/// pixels where all have data. `fused` has the pixels of pan and the multispectral bands. False, with an
/// item, when an image cannot be read or nothing can be compared.
[[nodiscard]] bool AssessPair(const Scene& scene, const InputImage& fused, const SensorBlur& blur,
                              double ratio, const Warn& warn, std::vector<PairIndices>& found,
                              Status& status);

} // namespace rasterhost
