#pragma once

#include "rasterhost/assessing/Assess.h"
#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/WorkFolder.h"

#include <span>
#include <string>

namespace rasterhost {

/// A pair seen by coarser sensors, so that the multispectral image is the truth that fusing it should give:
/// pan on the multispectral grid, the multispectral image and an infrared band coarser by the ratio of the
/// pair. Of a large scene some windows, side by side.
///
/// GeoTIFF files in memory, which go with this object.
class ReducedScene {
public:
    /// `blur` has one transfer for all bands or one per band, that of an infrared one last. Null with an item
    /// when the images do not share enough or cannot be read.
    [[nodiscard]] static std::unique_ptr<ReducedScene> Make(const Scene& scene, const SensorBlur& blur,
                                                            Status& status);
    ReducedScene(const ReducedScene&) = delete;
    ReducedScene& operator=(const ReducedScene&) = delete;
    ~ReducedScene();

    [[nodiscard]] std::string GetPan() const { return folder + "/" + names[0]; }
    [[nodiscard]] std::string GetMultispectral() const { return folder + "/" + names[1]; }
    /// Has data at the pixels to compare: where pan and the truth have, and all multispectral and infrared
    /// pixels that cubic interpolation takes there.
    [[nodiscard]] std::string GetTruth() const { return folder + "/" + names[2]; }
    [[nodiscard]] std::string GetInfrared() const { return folder + "/" + names[3]; }
    /// For what is made of them, one after the other.
    [[nodiscard]] std::string GetFused(unsigned number) const {
        return folder + "/fused-" + std::to_string(number) + ".tif";
    }
    /// Writes those to keep where they stay. False with an item.
    [[nodiscard]] bool Keep(WorkFolder& target, bool overwrite, Status& status) const;

    /// The files to keep.
    [[nodiscard]] static std::span<const char* const> GetNames(bool withInfrared) {
        return std::span(names).first(withInfrared ? 4 : 3);
    }

    /// The infrared band on the grid of the truth.
    [[nodiscard]] std::string GetFineInfrared() const { return folder + "/fine-infrared.tif"; }

    bool hasInfrared = false;
    std::uint32_t windows = 0;
    std::uint32_t columns = 0, rows = 0; ///< of the truth
    double ratioX = 0.0, ratioY = 0.0;

private:
    ReducedScene() = default;

    static constexpr const char* names[] = {"pan.tif", "ms.tif", "truth.tif", "infrared.tif"};
    std::string folder;
};

} // namespace rasterhost
