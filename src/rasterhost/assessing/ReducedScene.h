#pragma once

#include "rasterhost/assessing/Assess.h"
#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/WorkFolder.h"

#include <span>
#include <string>

namespace rasterhost {

/// A pair as coarser sensors would see it, so that the multispectral image is the truth for the fused result:
/// pan on the multispectral grid, the multispectral image and an infrared band coarser by the ratio of the
/// pair. Of a large scene only some windows are used, side by side.
///
/// Consists of GeoTIFF files in memory, which are deleted with this object.
class ReducedScene {
public:
    /// `blur` has one transfer for all bands or one per band, that of an infrared one last. Null, with an
    /// item, when the images do not overlap enough or cannot be read.
    [[nodiscard]] static std::unique_ptr<ReducedScene> Make(const Scene& scene, const SensorBlur& blur,
                                                            Status& status);
    ReducedScene(const ReducedScene&) = delete;
    ReducedScene& operator=(const ReducedScene&) = delete;
    ~ReducedScene();

    [[nodiscard]] std::string GetPan() const { return folder + "/" + names[0]; }
    [[nodiscard]] std::string GetMultispectral() const { return folder + "/" + names[1]; }
    /// Has data only at the pixels to compare: where pan and the truth have data, and all multispectral and
    /// infrared pixels that cubic interpolation uses.
    [[nodiscard]] std::string GetTruth() const { return folder + "/" + names[2]; }
    [[nodiscard]] std::string GetInfrared() const { return folder + "/" + names[3]; }
    /// The names of fused results, by number.
    [[nodiscard]] std::string GetFused(unsigned number) const {
        return folder + "/fused-" + std::to_string(number) + ".tif";
    }
    /// Writes the files to keep into a permanent folder. False with an item.
    [[nodiscard]] bool Keep(WorkFolder& target, bool overwrite, Status& status) const;

    /// The names of the files to keep.
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
