#include "hostkit/MapPlacement.h"

#include "hostkit/MappedRaster.h"
#include "hostkit/RequestRecord.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace hostkit {

namespace {

/// The transform between coarser pixels.
class CoarseTransform final : public PixelTransform {
public:
    CoarseTransform(std::shared_ptr<const PixelTransform> fullSize, const Coarsening& coarsening)
        : fine(std::move(fullSize)), origin{static_cast<double>(coarsening.part.col0),
                                            static_cast<double>(coarsening.part.row0)},
          panStep(1u << coarsening.panLevel), ownStep(1u << coarsening.ownLevel) {}

    [[nodiscard]] std::optional<Point> FromPan(const Point& at) const override {
        auto on = fine->FromPan({at.x * panStep + origin.x, at.y * panStep + origin.y});
        if (on) *on = {on->x / ownStep, on->y / ownStep};
        return on;
    }
    [[nodiscard]] std::optional<Point> ToPan(const Point& at) const override {
        auto on = fine->ToPan({at.x * ownStep, at.y * ownStep});
        if (on) *on = {(on->x - origin.x) / panStep, (on->y - origin.y) / panStep};
        return on;
    }

private:
    std::shared_ptr<const PixelTransform> fine;
    Point origin;
    double panStep, ownStep;
};

} // namespace

MapPlacement::MapPlacement(const RasterInfo& panInfo, const RasterInfo& imageInfo, PixelMap positions,
                           std::shared_ptr<const PixelTransform> exact)
    : Placement(panInfo, imageInfo), map(std::move(positions)), transform(std::move(exact)) {}

void MapPlacement::Move(const Point& displacement) {
    moved = moved + displacement;
    map.Move(displacement);
}

std::optional<Point> MapPlacement::ToPan(const Point& at) const { return transform->ToPan(at - moved); }

std::optional<Point> MapPlacement::FromPan(const Point& at) const {
    auto on = transform->FromPan(at);
    if (on) *on = *on + moved;
    return on;
}

std::array<Point, 2> MapPlacement::FindSteps() const {
    const std::uint32_t column = (pan.cols - 1) / 2, row = (pan.rows - 1) / 2;
    std::array<double, 2> x{}, y{};
    double belowX = 0.0, belowY = 0.0;
    map.FindRow(row, column, column + 2, x.data(), y.data());
    map.FindRow(row + 1, column, column + 1, &belowX, &belowY);
    return {Point{x[1] - x[0], y[1] - y[0]}, Point{belowX - x[0], belowY - y[0]}};
}

PixelRect MapPlacement::FindCovered() const { return WholeImage(pan); }

PixelRect MapPlacement::FindShared(const PixelRect& part) const {
    PixelRect on{part.col1, part.row1, part.col0, part.row0};
    std::vector<double> x(part.GetColumns()), y(x.size());
    const double right = image.cols - 0.5, bottom = image.rows - 0.5;
    for (std::uint32_t row = part.row0; row < part.row1; ++row) {
        map.FindRow(row, part.col0, part.col1, x.data(), y.data());
        for (std::uint32_t i = 0; i < x.size(); ++i) {
            if (!(x[i] >= -0.5 && x[i] <= right && y[i] >= -0.5 && y[i] <= bottom)) continue;
            on = {std::min(on.col0, part.col0 + i), std::min(on.row0, row),
                  std::max(on.col1, part.col0 + i + 1), std::max(on.row1, row + 1)};
        }
    }
    return on;
}

PixelRect MapPlacement::FindSource(const PixelRect& panWindow, Resampling resampling) const {
    return map.SourceRect(panWindow, image.cols, image.rows, resampling);
}

std::unique_ptr<PlacedWindow> MapPlacement::Open(const PixelRect& panWindow, const RasterInfo& source,
                                                 const SampleBlock& block, Resampling resampling,
                                                 KOVA::Tessara::Fundament::Status& status) const {
    return OpenRaster<MappedRaster>(status, pan, panWindow, source, block, map, resampling);
}

std::unique_ptr<Placement> MapPlacement::Coarsen(const Coarsening& look) const {
    RasterInfo own = CoarseInfo(image, WholeImage(image), look.ownLevel);
    own.xMax = image.xMax; // its true extent, not pixels times pixel size
    own.yMin = image.yMin;
    auto coarse =
        std::make_unique<MapPlacement>(CoarseInfo(pan, look.part, look.panLevel), own, map.Coarsen(look),
                                       std::make_shared<CoarseTransform>(transform, look));
    const double ownStep = 1u << look.ownLevel;
    coarse->moved = {moved.x / ownStep, moved.y / ownStep};
    return coarse;
}

} // namespace hostkit
