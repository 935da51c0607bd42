#pragma once

#include "hostkit/GridMap.h"
#include "hostkit/Placement.h"
#include "kernels/GridAxis.h"

namespace hostkit {

/// The placement of an image whose axes are parallel to pan's.
class AxisPlacement final : public Placement {
public:
    /// Both are described in the same map units. Neither description is kept by reference.
    AxisPlacement(const RasterInfo& panInfo, const RasterInfo& imageInfo);

    [[nodiscard]] bool RunsAlong() const override { return true; }
    void Move(const Point& displacement) override;
    [[nodiscard]] std::optional<Point> ToPan(const Point& at) const override;
    [[nodiscard]] std::optional<Point> FromPan(const Point& at) const override;
    [[nodiscard]] std::array<Point, 2> FindSteps() const override;
    [[nodiscard]] PixelRect FindCovered() const override;
    [[nodiscard]] PixelRect FindShared(const PixelRect& part) const override;
    [[nodiscard]] PixelRect FindSource(const PixelRect& panWindow, Resampling resampling) const override;
    [[nodiscard]] std::unique_ptr<PlacedWindow> Open(const PixelRect& panWindow, const RasterInfo& source,
                                                     const SampleBlock& block, Resampling resampling,
                                                     KOVA::Tessara::Fundament::Status& status) const override;
    [[nodiscard]] std::unique_ptr<Placement> Coarsen(const Coarsening& look) const override;

    /// Where pan's columns lie among the image's.
    [[nodiscard]] const kernels::GridAxis& GetAcross() const { return across; }
    /// Where pan's rows lie among the image's.
    [[nodiscard]] const kernels::GridAxis& GetDown() const { return down; }
    /// Where the image's columns lie on pan.
    [[nodiscard]] GridMap FindEdgesAcross() const;
    /// Where the image's rows lie on pan.
    [[nodiscard]] GridMap FindEdgesDown() const;

private:
    void FindAxes();

    kernels::GridAxis across;
    kernels::GridAxis down;
};

} // namespace hostkit
