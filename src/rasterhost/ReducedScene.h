#pragma once

#include "rasterhost/Assess.h"
#include "rasterhost/Scene.h"

#include <string>

namespace rasterhost {

/// A pair seen by coarser sensors, so that the multispectral image is the truth that fusing it should give:
/// pan on the multispectral grid, the multispectral image coarser by the ratio of the pair. Of a large scene
/// some windows, side by side.
///
/// Three GeoTIFF files in a folder, in memory unless one is named; those in memory go with this object.
class ReducedScene {
public:
    /// Null with an item when the images do not share enough or cannot be read. `folder` is empty for memory.
    [[nodiscard]] static std::unique_ptr<ReducedScene> Make(const Scene& scene, const SensorBlur& blur,
                                                            const std::string& folder, Status& status);
    ReducedScene(const ReducedScene&) = delete;
    ReducedScene& operator=(const ReducedScene&) = delete;
    ~ReducedScene();

    [[nodiscard]] std::string GetPan() const { return folder + "/pan.tif"; }
    [[nodiscard]] std::string GetMultispectral() const { return folder + "/ms.tif"; }
    /// Has data at the pixels to compare: where pan and the truth have, and all multispectral pixels that
    /// cubic interpolation takes there.
    [[nodiscard]] std::string GetTruth() const { return folder + "/truth.tif"; }
    /// For what is made of them, in memory.
    [[nodiscard]] std::string GetFused() const { return memoryFolder + "/fused.tif"; }

    std::uint32_t windows = 0;
    std::uint32_t columns = 0, rows = 0; ///< of the truth
    double ratioX = 0.0, ratioY = 0.0;

private:
    ReducedScene() = default;

    std::string memoryFolder;
    std::string folder; ///< of the three
};

} // namespace rasterhost
