#pragma once

#include "rasterhost/fusing/Sharpen.h"

#include <array>
#include <optional>
#include <string>

namespace rasterhost {

/// A picture of a small part of a scene with one pixel per pan pixel: pan, the upsampled multispectral image
/// and the fused image, side by side.
struct PreviewRequest {
    std::string file; ///< a PNG file
    /// x and y of its middle in map units of pan; without it the middle of what is fused.
    std::optional<std::array<double, 2>> at;
};

/// Checks before a run whether the picture could be written after it. False with an item.
[[nodiscard]] bool CheckPreview(const SharpenRequest& request, const PreviewRequest& preview,
                                KOVA::Tessara::Fundament::Status& status);

/// Writes the picture of a finished run, from the scene that it fused. Colours are natural where they are
/// known, else from the first three bands written. One or two bands are shown in grey; no data is black. Pan
/// and each colour are stretched separately, from the 2nd to the 98th percentile of what is shown. False with
/// an item.
[[nodiscard]] bool WritePreview(const SharpenRequest& request, const Scene& scene,
                                const PreviewRequest& preview, KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
