#include "hostkit/PixelMap.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace hostkit {

namespace {

double Blend(double a, double b, double fraction) { return a * (1.0 - fraction) + b * fraction; }

} // namespace

PixelMap::PixelMap(std::uint32_t pointStep, std::uint32_t columns, std::vector<Point> positions)
    : step(pointStep), pointColumns(columns), points(std::move(positions)) {}

void PixelMap::FindRow(std::uint32_t row, std::uint32_t col0, std::uint32_t col1, Point* positions) const {
    const Point* upper = points.data() + std::size_t{row / step} * pointColumns;
    const Point* lower = upper + pointColumns;
    const double down = static_cast<double>(row % step) / step;
    const auto at = [&](std::uint32_t point) {
        return Point{Blend(upper[point].x, lower[point].x, down) + moved.x,
                     Blend(upper[point].y, lower[point].y, down) + moved.y};
    };
    for (std::uint32_t column = col0; column < col1;) {
        const std::uint32_t point = column / step;
        const Point left = at(point), right = at(point + 1);
        const std::uint32_t end = std::min(col1, (point + 1) * step);
        for (; column < end; ++column) {
            const double across = static_cast<double>(column % step) / step;
            *positions++ = {Blend(left.x, right.x, across), Blend(left.y, right.y, across)};
        }
    }
}

PixelRect PixelMap::SourceRect(const PixelRect& panWindow, std::uint32_t sourceColumns,
                               std::uint32_t sourceRows, Resampling resampling) const {
    const double before = resampling == Resampling::Cubic ? 1.0 : 0.0;
    // Between four control points no position lies beyond theirs.
    double least[2] = {HUGE_VAL, HUGE_VAL}, greatest[2] = {-HUGE_VAL, -HUGE_VAL};
    for (std::uint32_t row = panWindow.row0 / step; row <= (panWindow.row1 - 1) / step + 1; ++row)
        for (std::uint32_t column = panWindow.col0 / step; column <= (panWindow.col1 - 1) / step + 1;
             ++column) {
            const Point& point = points[std::size_t{row} * pointColumns + column];
            if (std::isnan(point.x) || std::isnan(point.y)) continue;
            least[0] = std::min(least[0], point.x + moved.x);
            least[1] = std::min(least[1], point.y + moved.y);
            greatest[0] = std::max(greatest[0], point.x + moved.x);
            greatest[1] = std::max(greatest[1], point.y + moved.y);
        }
    const auto clamp = [](double position, std::uint32_t pixels) {
        return static_cast<std::uint32_t>(std::clamp(std::floor(position), 0.0, pixels - 1.0));
    };
    if (least[0] > greatest[0] || least[1] > greatest[1]) return {0, 0, 1, 1};
    return {clamp(least[0] - before, sourceColumns), clamp(least[1] - before, sourceRows),
            clamp(greatest[0] + 1.0 + before, sourceColumns) + 1,
            clamp(greatest[1] + 1.0 + before, sourceRows) + 1};
}

} // namespace hostkit
