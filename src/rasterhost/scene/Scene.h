#pragma once

#include "rasterhost/scene/PlaceImage.h"
#include "rasterhost/scene/Role.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace rasterhost {

/// An image of a scene under pan.
struct PlacedImage {
    std::unique_ptr<InputImage> image;
    std::unique_ptr<hostkit::Placement> placement;
    std::vector<std::size_t> bands; ///< positions of its bands among those of its role, in ascending order
    Role role = Role::Multispectral;

    /// The description with position and pixel size in the map units of pan.
    [[nodiscard]] hostkit::ImageSource::RasterInfo GetInfo() const {
        return placement->Describe(image->GetInfo());
    }
};

/// An input of the process besides pan: an image of a scene, or one that is computed.
struct PlacedSource {
    hostkit::ImageSource* image = nullptr; ///< not owned
    const hostkit::Placement* placement = nullptr;
    std::vector<std::size_t> bands; ///< positions of its bands among those of its role, in ascending order
    Role role = Role::Multispectral;

    /// False when every pixel of pan that the image covers is known to have data.
    [[nodiscard]] bool LeavesGaps() const { return !placement->RunsAlong() || image->MayLackData(); }
};

/// The images of a run, checked against each other.
struct Scene {
    std::unique_ptr<InputImage> pan;
    /// The multispectral bands, one image per grid, the one with the largest pixels first; then the infrared
    /// image, if there is one. Where only one grid is considered, it is the first.
    std::vector<PlacedImage> images;
    hostkit::PixelRect part;    ///< the pan pixels to fuse
    hostkit::PixelRect covered; ///< those of them that may have data in all images
    hostkit::Point shift;       ///< the shift that was corrected, in multispectral pixels
    SampleOptions sampleOptions;
    hostkit::Resampling resampling = hostkit::Resampling::Bilinear;
    std::uint32_t bitDepth = 0; ///< of the results
    /// Per multispectral band, those to write first: its position in the request, counted from 0.
    std::vector<std::size_t> bandOrder;
    std::uint32_t outputBands = 0;
    std::string acquired; ///< time of acquisition; empty when unknown

    /// The images of the multispectral bands.
    [[nodiscard]] std::span<const PlacedImage> GetGrids() const;
    /// The multispectral image whose grid is used where only one is considered.
    [[nodiscard]] const PlacedImage& GetMultispectral() const { return images.front(); }
    [[nodiscard]] bool HasInfrared() const { return images.back().role == Role::Infrared; }
    /// The number of multispectral bands and the infrared one.
    [[nodiscard]] std::size_t CountBands() const { return bandOrder.size() + (HasInfrared() ? 1 : 0); }
    /// The position of a role's first band among all bands of the process.
    [[nodiscard]] std::size_t FirstOf(Role role) const {
        return role == Role::Multispectral ? 0 : bandOrder.size();
    }
    /// The multispectral band at a position in the scene's order.
    [[nodiscard]] const SourceBand& GetBand(std::size_t position) const;
    /// The inputs of the process. They belong to the scene.
    [[nodiscard]] std::vector<PlacedSource> GetSources() const;
    /// False when every pixel of the part is known to have data.
    [[nodiscard]] bool MayLackData() const;
    /// Drops all multispectral bands except the first ones in the scene's order.
    void KeepFirstBands(std::uint32_t count);
};

/// Displaces the content of all images except pan, by multispectral pixels, and finds again what they cover.
/// False, with an item, when they no longer cover anything.
[[nodiscard]] bool MoveScene(const hostkit::Point& displacement, Scene& scene, Status& status);

/// Warns, for each image, of the pixels of the part that it does not cover. Call it when the part is cut.
void WarnOfBarePixels(const Scene& scene, const Warn& warn);

/// Opens pan, the multispectral bands and the infrared band, and finds how they lie on each other. Reads no
/// pixels. It neither measures a shift nor reduces the part to the intersection; see PreparedPair.h. Null
/// with an item that names the file and says what to do.
[[nodiscard]] std::unique_ptr<Scene> OpenScene(const PairRequest& request, const Warn& warn, Status& status);

} // namespace rasterhost
