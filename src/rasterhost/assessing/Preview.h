#pragma once

#include "rasterhost/fusing/Sharpen.h"

#include <array>
#include <optional>
#include <string>

namespace rasterhost {

/// A picture of a small part of a scene with one pixel per pan pixel: pan, the multispectral image merely
/// upsampled and the fused image, side by side.
struct PreviewRequest {
    std::string file;                        ///< a PNG file
    std::optional<std::array<double, 2>> at; ///< x and y of its middle in map units of pan; without it that
                                             ///< of what is fused
};

/// Tells before a run whether the picture could be made after it. False with an item.
[[nodiscard]] bool CheckPreview(const SharpenRequest& request, const PreviewRequest& preview,
                                KOVA::Tessara::Fundament::Status& status);

/// Makes the picture of a run that is done, of the scene that it fused. Natural colours where they
/// are known, else the first three bands that were written; one or two bands are grey; black is no data. Pan
/// has a stretch of its own and each colour one, from the 2nd to the 98th percentile of what is shown. False
/// with an item.
[[nodiscard]] bool WritePreview(const SharpenRequest& request, const Scene& scene,
                                const PreviewRequest& preview, KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
