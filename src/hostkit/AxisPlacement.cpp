#include "hostkit/AxisPlacement.h"

#include "hostkit/RequestRecord.h"
#include "hostkit/SampledRaster.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace hostkit {

namespace {

GridMap FindEdges(const kernels::GridAxis& axis) {
    const double ratio = axis.denominator == 0
                             ? axis.ratio
                             : static_cast<double>(axis.numerator) / static_cast<double>(axis.denominator);
    return {-axis.offset / ratio, 1.0 / ratio};
}

/// First and end of the pan pixels whose position lies between `least` and `most`. Positions count between
/// centres, so a source of n pixels spans -0.5 to n - 0.5.
std::pair<std::uint32_t, std::uint32_t> FindSpan(const kernels::GridAxis& axis, std::uint32_t first,
                                                 std::uint32_t end, double least, double most) {
    const auto position = [&](std::uint32_t pan) {
        const kernels::GridPosition at = kernels::PanToMultispectral(axis, pan);
        return static_cast<double>(at.index) + at.fraction;
    };
    while (first < end && position(first) < least)
        ++first;
    while (end > first && position(end - 1) > most)
        --end;
    return {first, end};
}

} // namespace

AxisPlacement::AxisPlacement(const RasterInfo& panInfo, const RasterInfo& imageInfo)
    : Placement(panInfo, imageInfo) {
    FindAxes();
}

void AxisPlacement::FindAxes() {
    across =
        kernels::MakeGridAxis(pan.pixelSizeX / image.pixelSizeX, (pan.xMin - image.xMin) / image.pixelSizeX);
    down =
        kernels::MakeGridAxis(pan.pixelSizeY / image.pixelSizeY, (image.yMax - pan.yMax) / image.pixelSizeY);
}

void AxisPlacement::Move(const Point& displacement) {
    image.xMin -= displacement.x * image.pixelSizeX;
    image.xMax -= displacement.x * image.pixelSizeX;
    image.yMin += displacement.y * image.pixelSizeY;
    image.yMax += displacement.y * image.pixelSizeY;
    FindAxes();
}

GridMap AxisPlacement::FindEdgesAcross() const { return FindEdges(across); }

GridMap AxisPlacement::FindEdgesDown() const { return FindEdges(down); }

std::optional<Point> AxisPlacement::ToPan(const Point& at) const {
    const GridMap x = FindEdgesAcross(), y = FindEdgesDown();
    return Point{x.origin + at.x * x.step, y.origin + at.y * y.step};
}

std::optional<Point> AxisPlacement::FromPan(const Point& at) const {
    const GridMap x = FindEdgesAcross(), y = FindEdgesDown();
    return Point{(at.x - x.origin) / x.step, (at.y - y.origin) / y.step};
}

std::array<Point, 2> AxisPlacement::FindSteps() const {
    return {{{pan.pixelSizeX / image.pixelSizeX, 0.0}, {0.0, pan.pixelSizeY / image.pixelSizeY}}};
}

PixelRect AxisPlacement::FindCovered() const {
    const auto [col0, col1] = FindSpan(across, 0, pan.cols, -1.5, image.cols + 0.5);
    const auto [row0, row1] = FindSpan(down, 0, pan.rows, -1.5, image.rows + 0.5);
    return {col0, row0, col1, row1};
}

PixelRect AxisPlacement::FindShared(const PixelRect& part) const {
    const auto [col0, col1] = FindSpan(across, part.col0, part.col1, -0.5, image.cols - 0.5);
    const auto [row0, row1] = FindSpan(down, part.row0, part.row1, -0.5, image.rows - 0.5);
    return {col0, row0, col1, row1};
}

PixelRect AxisPlacement::FindSource(const PixelRect& panWindow, Resampling resampling) const {
    // Cubic interpolation reads one pixel more on either side.
    const std::int64_t more = resampling == Resampling::Cubic ? 1 : 0;
    const auto pixel = [](const kernels::GridAxis& axis, std::uint32_t panPixel, std::int64_t step,
                          std::uint32_t pixels) {
        const std::int64_t index = kernels::PanToMultispectral(axis, panPixel).index + step;
        return static_cast<std::uint32_t>(std::clamp<std::int64_t>(index, 0, std::int64_t{pixels} - 1));
    };
    return {pixel(across, panWindow.col0, -more, image.cols), pixel(down, panWindow.row0, -more, image.rows),
            pixel(across, panWindow.col1 - 1, 1 + more, image.cols) + 1,
            pixel(down, panWindow.row1 - 1, 1 + more, image.rows) + 1};
}

std::unique_ptr<PlacedWindow> AxisPlacement::Open(const PixelRect& panWindow, const RasterInfo& source,
                                                  const SampleBlock& block, Resampling resampling,
                                                  KOVA::Tessara::Fundament::Status& status) const {
    return OpenRaster<SampledRaster>(status, *this, panWindow, source, block, resampling);
}

std::unique_ptr<Placement> AxisPlacement::Coarsen(const Coarsening& look) const {
    return std::make_unique<AxisPlacement>(CoarseInfo(pan, look.part, look.panLevel),
                                           CoarseInfo(image, WholeImage(image), look.ownLevel));
}

} // namespace hostkit
