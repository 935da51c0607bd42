#pragma once

#include "hostkit/PixelMap.h"
#include "hostkit/Placement.h"

namespace hostkit {

/// The exact way between the pixels of pan and those of an image whose axes are not parallel to them. Places
/// count pixels from the corner of each.
class PixelTransform {
public:
    virtual ~PixelTransform() = default;
    /// The place on the image of a place on pan; none where there is none.
    [[nodiscard]] virtual std::optional<Point> FromPan(const Point& at) const = 0;
    /// The place on pan of a place on the image; none where there is none.
    [[nodiscard]] virtual std::optional<Point> ToPan(const Point& at) const = 0;
};

/// The placement of an image that pan's pixels are found on by a map.
class MapPlacement final : public Placement {
public:
    /// `imageInfo` has in its place what the image covers, in the map units of pan, and the size of a pixel
    /// in its middle. The map is the one of the transform.
    MapPlacement(const RasterInfo& panInfo, const RasterInfo& imageInfo, PixelMap positions,
                 std::shared_ptr<const PixelTransform> exact);

    [[nodiscard]] bool RunsAlong() const override { return false; }
    void Move(const Point& way) override;
    [[nodiscard]] std::optional<Point> ToPan(const Point& at) const override;
    [[nodiscard]] std::optional<Point> FromPan(const Point& at) const override;
    [[nodiscard]] std::array<Point, 2> FindSteps() const override;
    /// All of pan: which of its pixels have data is found pixel by pixel.
    [[nodiscard]] PixelRect FindCovered() const override;
    [[nodiscard]] PixelRect FindShared(const PixelRect& part) const override;
    [[nodiscard]] PixelRect FindSource(const PixelRect& panWindow, Resampling resampling) const override;
    [[nodiscard]] std::unique_ptr<PlacedWindow> Open(const PixelRect& panWindow, const RasterInfo& source,
                                                     const SampleBlock& block, Resampling resampling,
                                                     KOVA::Tessara::Fundament::Status& status) const override;
    [[nodiscard]] std::unique_ptr<Placement> Coarsen(const Coarsening& look) const override;

private:
    PixelMap map;
    std::shared_ptr<const PixelTransform> transform;
    Point moved;
};

} // namespace hostkit
