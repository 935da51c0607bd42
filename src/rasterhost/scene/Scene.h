#pragma once

#include "rasterhost/scene/PlaceImage.h"
#include "rasterhost/scene/Role.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace rasterhost {

/// An image of a scene beneath pan.
struct PlacedImage {
    std::unique_ptr<InputImage> image;
    std::unique_ptr<hostkit::Placement> placement;
    std::vector<std::size_t> bands; ///< where its bands stand among those of its role, in ascending order
    Role role = Role::Multispectral;

    /// With its place and pixel size in the map units of pan.
    [[nodiscard]] hostkit::ImageSource::RasterInfo GetInfo() const {
        return placement->Describe(image->GetInfo());
    }
};

/// What the process is fed from beside pan: an image of a scene, or one that is computed.
struct PlacedSource {
    hostkit::ImageSource* image = nullptr; ///< of the scene, or of whoever computes it
    const hostkit::Placement* placement = nullptr;
    std::vector<std::size_t> bands; ///< where its bands stand among those of its role, in ascending order
    Role role = Role::Multispectral;
};

/// The images of a run, checked against each other.
struct Scene {
    std::unique_ptr<InputImage> pan;
    /// The multispectral bands, an image for each grid that they lie on, that of the largest pixels first;
    /// then the infrared one, if any. The first stands for all where one grid is looked at.
    std::vector<PlacedImage> images;
    hostkit::PixelRect part;    ///< the pan pixels to fuse
    hostkit::PixelRect covered; ///< those of them that may have data in all images
    hostkit::Point shift;       ///< that was taken back, in pixels of the multispectral image
    SampleOptions sampleOptions;
    hostkit::Resampling resampling = hostkit::Resampling::Bilinear;
    std::uint32_t bitDepth = 0; ///< of the results
    /// For every multispectral band, those to write first, its position in the request, counted from 0.
    std::vector<std::size_t> bandOrder;
    std::uint32_t outputBands = 0;
    std::string acquired; ///< when; empty for unknown

    /// The images of the multispectral bands.
    [[nodiscard]] std::span<const PlacedImage> GetGrids() const;
    /// The one that stands for all.
    [[nodiscard]] const PlacedImage& GetMultispectral() const { return images.front(); }
    [[nodiscard]] bool HasInfrared() const { return images.back().role == Role::Infrared; }
    /// The multispectral bands and the infrared one.
    [[nodiscard]] std::size_t CountBands() const { return bandOrder.size() + (HasInfrared() ? 1 : 0); }
    /// Where a role's first band stands among all that the process is given.
    [[nodiscard]] std::size_t FirstOf(Role role) const {
        return role == Role::Multispectral ? 0 : bandOrder.size();
    }
    /// The multispectral band at a place among all.
    [[nodiscard]] const SourceBand& GetBand(std::size_t position) const;
    /// What the process is fed from; good for as long as the scene.
    [[nodiscard]] std::vector<PlacedSource> GetSources() const;
    /// Leaves out all multispectral bands but the first ones in the order wanted.
    void KeepFirstBands(std::uint32_t count);
};

/// Moves the content of all images but pan by a way on the multispectral one, and finds again what they
/// cover. False with an item when they cover nothing any more.
[[nodiscard]] bool MoveScene(const hostkit::Point& way, Scene& scene, Status& status);

/// Opens pan, multispectral bands and the infrared band and finds how they lie on each other; reads no
/// pixels. A shift to be measured is not taken back yet, nor the part cut to what all have (PreparedPair.h).
/// Null with an item that names the file and says what to do.
[[nodiscard]] std::unique_ptr<Scene> OpenScene(const PairRequest& request, const Warn& warn, Status& status);

} // namespace rasterhost
