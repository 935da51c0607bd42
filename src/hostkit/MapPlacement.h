#pragma once

#include "hostkit/PixelMap.h"
#include "hostkit/Placement.h"

namespace hostkit {

/// The exact transform between pixels of pan and of an image whose axes are not parallel to pan's. Positions
/// count pixels from the corner of each.
class PixelTransform {
public:
    virtual ~PixelTransform() = default;
    /// The position on the image of a position on pan; none when it has none.
    [[nodiscard]] virtual std::optional<Point> FromPan(const Point& at) const = 0;
    /// The position on pan of a position on the image; none when it has none.
    [[nodiscard]] virtual std::optional<Point> ToPan(const Point& at) const = 0;
};

/// The placement of an image through a map (PixelMap.h).
class MapPlacement final : public Placement {
public:
    /// `imageInfo` holds the extent of the image in the map units of pan, and the pixel size at its middle.
    /// `positions` is the map sampled from `exact`.
    MapPlacement(const RasterInfo& panInfo, const RasterInfo& imageInfo, PixelMap positions,
                 std::shared_ptr<const PixelTransform> exact);

    [[nodiscard]] bool RunsAlong() const override { return false; }
    void Move(const Point& displacement) override;
    [[nodiscard]] std::optional<Point> ToPan(const Point& at) const override;
    [[nodiscard]] std::optional<Point> FromPan(const Point& at) const override;
    [[nodiscard]] std::array<Point, 2> FindSteps() const override;
    /// All of pan: the pixels with data are found one by one.
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
