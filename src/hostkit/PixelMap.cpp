#include "hostkit/PixelMap.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace hostkit {

namespace {

double Blend(double a, double b, double fraction) { return a * (1.0 - fraction) + b * fraction; }

} // namespace

PixelMap::PixelMap(std::uint32_t pointStep, std::uint32_t columns, std::vector<Point> positions)
    : step(pointStep), pointColumns(columns),
      points(std::make_shared<const std::vector<Point>>(std::move(positions))) {}

PixelMap PixelMap::Coarsen(const Coarsening& coarsening) const {
    PixelMap coarse = *this;
    coarse.look = coarsening;
    return coarse;
}

std::uint32_t PixelMap::CountRows() const {
    return static_cast<std::uint32_t>(points->size() / pointColumns);
}

/// The centre of a pixel of pan, in half pixels of full size from the centre of the first.
std::uint64_t PixelMap::Centre(std::uint32_t pixel, std::uint32_t origin) const {
    return 2 * std::uint64_t{origin} + ((2 * std::uint64_t{pixel} + 1) << look.panLevel) - 1;
}

PixelMap::Place PixelMap::Find(std::uint64_t centre, std::uint32_t pointCount) const {
    const std::uint64_t cell = 2 * std::uint64_t{step};
    const std::uint64_t point = std::min<std::uint64_t>(centre / cell, pointCount - 2);
    return {static_cast<std::uint32_t>(point),
            static_cast<double>(centre - point * cell) / static_cast<double>(cell)};
}

/// The first pixel whose centre lies on or beyond the next control point. No limit after the last.
std::uint32_t PixelMap::EndOf(std::uint32_t point, std::uint32_t pointCount, std::uint32_t origin) const {
    if (point + 2 == pointCount) return std::numeric_limits<std::uint32_t>::max();
    const std::uint64_t end = 2 * std::uint64_t{step} * (point + 1) + 1 - 2 * std::uint64_t{origin};
    const std::uint64_t half = std::uint64_t{1} << look.panLevel; // of a pixel
    return static_cast<std::uint32_t>((end + half - 1) >> (look.panLevel + 1));
}

/// Converts a position on the source at full size to its coarser pixels.
double PixelMap::ToSource(double at) const { return kernels::ShrinkPosition(at, 1u << look.ownLevel); }

void PixelMap::FindLines(std::uint32_t row, std::uint32_t col0, std::uint32_t col1,
                         std::vector<kernels::MappedLine>& lines) const {
    lines.clear();
    const Place down = Find(Centre(row, look.part.row0), CountRows());
    const Point* upper = points->data() + std::size_t{down.point} * pointColumns;
    const Point* lower = upper + pointColumns;
    const auto at = [&](std::uint32_t point) {
        return Point{Blend(upper[point].x, lower[point].x, down.fraction) + moved.x,
                     Blend(upper[point].y, lower[point].y, down.fraction) + moved.y};
    };
    const double length = 2.0 * step, pixel = static_cast<double>(std::uint64_t{2} << look.panLevel);
    const double shrink = 1u << look.ownLevel;
    Point right;
    std::uint32_t rightPoint = std::numeric_limits<std::uint32_t>::max(); // none yet
    for (std::uint32_t column = col0, end = 0; column < col1; column = end) {
        const std::uint64_t centre = Centre(column, look.part.col0);
        const std::uint32_t point = Find(centre, pointColumns).point;
        const Point left = point == rightPoint ? right : at(point);
        rightPoint = point + 1;
        right = at(rightPoint);
        const auto start = static_cast<double>(centre - 2 * std::uint64_t{step} * point);
        end = std::min(col1, EndOf(point, pointColumns, look.part.col0));
        lines.push_back({left.x, right.x, left.y, right.y, start, pixel, length, end - column, shrink});
    }
}

void PixelMap::FindRow(std::uint32_t row, std::uint32_t col0, std::uint32_t col1, double* x,
                       double* y) const {
    static const kernels::FillLine fillLine = kernels::FillLineFor(kernels::ChosenSimdTarget());
    std::vector<kernels::MappedLine> lines;
    FindLines(row, col0, col1, lines);
    kernels::MappedPath{lines.data()}.Fill(fillLine, col1 - col0, x, y);
}

/// The position of a place on pan, given in half pixels of full size.
Point PixelMap::Position(std::uint64_t x, std::uint64_t y) const {
    const Place across = Find(x, pointColumns), down = Find(y, CountRows());
    const Point* upper = points->data() + std::size_t{down.point} * pointColumns + across.point;
    const Point* lower = upper + pointColumns;
    const auto blend = [&](double Point::*axis, double displacement) {
        return Blend(Blend(upper[0].*axis, lower[0].*axis, down.fraction) + displacement,
                     Blend(upper[1].*axis, lower[1].*axis, down.fraction) + displacement, across.fraction);
    };
    return {blend(&Point::x, moved.x), blend(&Point::y, moved.y)};
}

PixelRect PixelMap::SourceRect(const PixelRect& panWindow, std::uint32_t sourceColumns,
                               std::uint32_t sourceRows, Resampling resampling) const {
    const double before = resampling == Resampling::Cubic ? 1.0 : 0.0;
    double least[2] = {HUGE_VAL, HUGE_VAL}, greatest[2] = {-HUGE_VAL, -HUGE_VAL};
    const auto see = [&](const Point& point) {
        if (std::isnan(point.x) || std::isnan(point.y)) return;
        least[0] = std::min(least[0], point.x);
        least[1] = std::min(least[1], point.y);
        greatest[0] = std::max(greatest[0], point.x);
        greatest[1] = std::max(greatest[1], point.y);
    };
    const std::uint64_t lastX = Centre(panWindow.col1 - 1, look.part.col0);
    const std::uint64_t lastY = Centre(panWindow.row1 - 1, look.part.row0);
    const Place left = Find(Centre(panWindow.col0, look.part.col0), pointColumns),
                right = Find(lastX, pointColumns);
    const Place upper = Find(Centre(panWindow.row0, look.part.row0), CountRows()),
                lower = Find(lastY, CountRows());
    // Between four control points no position lies outside theirs. Past the last control points this holds
    // for the positions at the corners.
    const std::uint64_t cell = 2 * std::uint64_t{step};
    for (std::uint64_t row = upper.point; row <= lower.point + 1; ++row) {
        for (std::uint64_t column = left.point; column <= right.point + 1; ++column) {
            see((*points)[row * pointColumns + column] + moved);
            if (lower.fraction > 1.0) see(Position(cell * column, lastY));
        }
        if (right.fraction > 1.0) see(Position(lastX, cell * row));
    }
    if (right.fraction > 1.0 || lower.fraction > 1.0) see(Position(lastX, lastY));
    if (least[0] > greatest[0] || least[1] > greatest[1]) return {0, 0, 1, 1};
    const Point first{ToSource(least[0]), ToSource(least[1])};
    const Point last{ToSource(greatest[0]), ToSource(greatest[1])};
    const auto clamp = [](double position, std::uint32_t pixels) {
        return static_cast<std::uint32_t>(std::clamp(std::floor(position), 0.0, pixels - 1.0));
    };
    return {clamp(first.x - before, sourceColumns), clamp(first.y - before, sourceRows),
            clamp(last.x + 1.0 + before, sourceColumns) + 1, clamp(last.y + 1.0 + before, sourceRows) + 1};
}

} // namespace hostkit
