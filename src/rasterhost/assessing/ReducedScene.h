#pragma once

#include "rasterhost/assessing/Assess.h"
#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/WorkFolder.h"

#include <string>

namespace rasterhost {

/// A pair seen by coarser sensors, so that the multispectral image is the truth that fusing it should give:
/// pan on the multispectral grid, the multispectral image coarser by the ratio of the pair. Of a large scene
/// some windows, side by side.
///
/// Three GeoTIFF files in memory, which go with this object.
class ReducedScene {
public:
    /// Null with an item when the images do not share enough or cannot be read.
    [[nodiscard]] static std::unique_ptr<ReducedScene> Make(const Scene& scene, const SensorBlur& blur,
                                                            Status& status);
    ReducedScene(const ReducedScene&) = delete;
    ReducedScene& operator=(const ReducedScene&) = delete;
    ~ReducedScene();

    [[nodiscard]] std::string GetPan() const { return folder + "/" + names[0]; }
    [[nodiscard]] std::string GetMultispectral() const { return folder + "/" + names[1]; }
    /// Has data at the pixels to compare: where pan and the truth have, and all multispectral pixels that
    /// cubic interpolation takes there.
    [[nodiscard]] std::string GetTruth() const { return folder + "/" + names[2]; }
    /// For what is made of them.
    [[nodiscard]] std::string GetFused() const { return folder + "/fused.tif"; }
    /// Writes the three where they stay. False with an item.
    [[nodiscard]] bool Keep(WorkFolder& target, bool overwrite, Status& status) const;

    /// Of the three files: pan, multispectral image, truth.
    static constexpr const char* names[] = {"pan.tif", "ms.tif", "truth.tif"};

    std::uint32_t windows = 0;
    std::uint32_t columns = 0, rows = 0; ///< of the truth
    double ratioX = 0.0, ratioY = 0.0;

private:
    ReducedScene() = default;

    std::string folder;
};

} // namespace rasterhost
