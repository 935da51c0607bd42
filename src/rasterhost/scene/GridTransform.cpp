#include "rasterhost/scene/GridTransform.h"

#include "hostkit/AxisPlacement.h"
#include "rasterhost/requests/GdalErrors.h"

#include <cpl_string.h>
#include <gdal_alg.h>
#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace rasterhost {

using hostkit::PixelMap;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

constexpr double mostError = 0.01; // in image pixels
constexpr std::uint32_t greatestStep = 64;
constexpr std::uint32_t leastStep = 8;
constexpr std::uint64_t mostPoints = std::uint64_t{1} << 25; ///< of a map, which is held in memory completely

std::optional<GridTransform::Point> Transform(void* transformer, bool isFromPan, GridTransform::Point point) {
    double z = 0.0;
    int isGood = 0;
    const GdalErrors silence;
    if (!GDALGenImgProjTransform(transformer, isFromPan ? TRUE : FALSE, 1, &point.x, &point.y, &z, &isGood) ||
        !isGood || !std::isfinite(point.x) || !std::isfinite(point.y))
        return std::nullopt;
    return point;
}

/// Longitudes of pan may continue beyond 180 degrees; those from a projection never do.
std::optional<GridTransform::Point> FindTurn(const InputImage& pan) {
    const auto& geoTransform = pan.GetDescription()->geoTransform;
    if (!geoTransform || !pan.GetDescription()->projection.IsGeographic()) return std::nullopt;
    constexpr double pi = 3.14159265358979323846;
    const double whole = 2.0 * pi / pan.GetDescription()->projection.GetAngularUnits();
    const auto& t = *geoTransform;
    const double determinant = t[1] * t[5] - t[2] * t[4];
    if (!(determinant < 0.0 || determinant > 0.0)) return std::nullopt;
    return GridTransform::Point{whole * t[5] / determinant, -whole * t[4] / determinant};
}

} // namespace

std::unique_ptr<GridTransform> GridTransform::Make(const InputImage& pan, const InputImage& image,
                                                   Status& status) {
    std::unique_ptr<GridTransform> made(new GridTransform(pan, image));
    CPLStringList options;
    // Rational polynomials need heights, and are less accurate for whole scenes than control points.
    for (const auto& [side, placed] : {std::pair("SRC_METHOD", &image), {"DST_METHOD", &pan}})
        options.SetNameValue(side,
                             placed->GetDescription()->geoTransform ? "GEOTRANSFORM" : "GCP_POLYNOMIAL");
    const GdalErrors errors;
    made->transformer =
        GDALCreateGenImgProjTransformer2(&image.GetDataset(), &pan.GetDataset(), options.List());
    made->turn = FindTurn(pan);
    if (made->transformer) return made;
    Fail(status, HostStatus::InputsDoNotFit,
         "%s cannot be placed on %s; bring it into the projection and grid of pan with gdalwarp%s",
         image.GetName().c_str(), pan.GetName().c_str(), errors.Reason().c_str());
    return nullptr;
}

GridTransform::~GridTransform() {
    if (transformer) GDALDestroyGenImgProjTransformer(transformer);
}

std::optional<GridTransform::Point> GridTransform::FromPan(const Point& panPixel) const {
    return Transform(transformer, true, panPixel);
}

std::optional<GridTransform::Point> GridTransform::ToPan(const Point& imagePixel) const {
    auto at = Transform(transformer, false, imagePixel);
    if (!at || !turn) return at;
    // Of all positions that differ by whole turns, the one nearest to the middle of pan.
    const Point off{at->x - pan.GetInfo().cols / 2.0, at->y - pan.GetInfo().rows / 2.0};
    const double turns = (off.x * turn->x + off.y * turn->y) / (turn->x * turn->x + turn->y * turn->y);
    constexpr double half = 0.5 + 1e-9; // so that the edges of a global pan image stay in place
    if (std::fabs(turns) <= half) return at;
    return Point{at->x - std::round(turns) * turn->x, at->y - std::round(turns) * turn->y};
}

/// Positions of the centres of every step-th pan pixel. Pixels past the last are computed too.
std::vector<GridTransform::Point> GridTransform::FindPoints(std::uint32_t step) const {
    const RasterInfo& info = pan.GetInfo();
    const std::uint32_t columns = PixelMap::CountPoints(info.cols, step);
    const std::uint32_t rows = PixelMap::CountPoints(info.rows, step);
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    std::vector<GridTransform::Point> points(std::size_t{columns} * rows, {none, none});
    std::vector<double> x(columns), y(columns), z(columns);
    std::vector<int> isGood(columns);
    const GdalErrors silence;
    for (std::uint32_t row = 0; row < rows; ++row) {
        for (std::uint32_t column = 0; column < columns; ++column) {
            x[column] = column * static_cast<double>(step) + 0.5;
            y[column] = row * static_cast<double>(step) + 0.5;
            z[column] = 0.0;
        }
        GDALGenImgProjTransform(transformer, TRUE, static_cast<int>(columns), x.data(), y.data(), z.data(),
                                isGood.data());
        for (std::uint32_t column = 0; column < columns; ++column)
            if (isGood[column] && std::isfinite(x[column]) && std::isfinite(y[column]))
                points[std::size_t{row} * columns + column] = {x[column] - 0.5, y[column] - 0.5};
    }
    return points;
}

/// Compares the middle of every cell between control points with its exact position.
bool GridTransform::IsFine(const std::vector<Point>& points, std::uint32_t step) const {
    const RasterInfo& info = pan.GetInfo();
    const std::uint32_t columns = PixelMap::CountPoints(info.cols, step);
    const std::uint32_t rows = PixelMap::CountPoints(info.rows, step);
    std::vector<double> x(columns - 1), y(columns - 1), z(columns - 1);
    std::vector<int> isGood(columns - 1);
    const GdalErrors silence;
    for (std::uint32_t row = 0; row + 1 < rows; ++row) {
        for (std::uint32_t column = 0; column + 1 < columns; ++column) {
            x[column] = (column + 0.5) * step + 0.5;
            y[column] = (row + 0.5) * step + 0.5;
            z[column] = 0.0;
        }
        GDALGenImgProjTransform(transformer, TRUE, static_cast<int>(columns) - 1, x.data(), y.data(),
                                z.data(), isGood.data());
        for (std::uint32_t column = 0; column + 1 < columns; ++column) {
            const GridTransform::Point* upper = points.data() + std::size_t{row} * columns + column;
            const GridTransform::Point* lower = upper + columns;
            const double middleX = (upper[0].x + upper[1].x + lower[0].x + lower[1].x) / 4.0;
            const double middleY = (upper[0].y + upper[1].y + lower[0].y + lower[1].y) / 4.0;
            // A cell with an undefined corner is undefined and is not compared.
            if (!isGood[column] || std::isnan(middleX) || std::isnan(middleY)) continue;
            if (std::hypot(middleX - (x[column] - 0.5), middleY - (y[column] - 0.5)) > mostError)
                return false;
        }
    }
    return true;
}

std::optional<PixelMap> GridTransform::MakeMap(Status& status) const {
    const RasterInfo& grid = pan.GetInfo();
    for (std::uint32_t step = greatestStep; step >= leastStep; step /= 2) {
        if (std::uint64_t{PixelMap::CountPoints(grid.cols, step)} * PixelMap::CountPoints(grid.rows, step) >
            mostPoints) {
            Fail(status, HostStatus::InputsDoNotFit,
                 "%s has too many pixels (%u x %u) to be placed on the grid of %s pixel by "
                 "pixel; bring one "
                 "into the projection and grid of the other with gdalwarp, or cut pan into parts",
                 pan.GetName().c_str(), grid.cols, grid.rows, image.GetName().c_str());
            return std::nullopt;
        }
        std::vector<Point> points = FindPoints(step);
        if (IsFine(points, step))
            return PixelMap(step, PixelMap::CountPoints(pan.GetInfo().cols, step), std::move(points));
    }
    Fail(status, HostStatus::InputsDoNotFit,
         "the map from %s to %s bends too much within %u pixels; bring the second into pan's "
         "projection and grid with gdalwarp",
         pan.GetName().c_str(), image.GetName().c_str(), leastStep);
    return std::nullopt;
}

bool GridTransform::RunsAlong() const {
    const double columns = pan.GetInfo().cols, rows = pan.GetInfo().rows;
    const auto a = FromPan({0.0, 0.0}), b = FromPan({columns, 0.0}), c = FromPan({0.0, rows});
    if (!a || !b || !c || !(b->x > a->x) || !(c->y > a->y)) return false;
    constexpr double noise = 1e-6;
    for (const double down : {0.0, 0.5, 1.0})
        for (const double across : {0.0, 0.5, 1.0}) {
            const auto at = FromPan({across * columns, down * rows});
            if (!at || std::hypot(at->x - (a->x + (b->x - a->x) * across),
                                  at->y - (a->y + (c->y - a->y) * down)) > noise)
                return false;
        }
    return true;
}

namespace {

/// The image in the map units of pan. Empty, with an item, when it has no position there.
std::optional<RasterInfo> DescribeOnPan(const GridTransform& transform, const InputImage& pan,
                                        const InputImage& image, bool runsAlong, Status& status) {
    const RasterInfo& grid = pan.GetInfo();
    const double columns = image.GetInfo().cols, rows = image.GetInfo().rows;
    double left = HUGE_VAL, right = -HUGE_VAL, top = HUGE_VAL, bottom = -HUGE_VAL;
    constexpr int steps = 16;
    for (int i = 0; i <= steps; ++i)
        for (int j = 0; j <= steps; ++j)
            if (const auto at = transform.ToPan({columns * i / steps, rows * j / steps})) {
                left = std::min(left, at->x);
                right = std::max(right, at->x);
                top = std::min(top, at->y);
                bottom = std::max(bottom, at->y);
            }
    const GridTransform::Point middle{columns / 2.0, rows / 2.0};
    const auto a = transform.ToPan({middle.x - 0.5, middle.y}),
               b = transform.ToPan({middle.x + 0.5, middle.y});
    const auto c = transform.ToPan({middle.x, middle.y - 0.5}),
               d = transform.ToPan({middle.x, middle.y + 0.5});
    if (!(left < right) || !(top < bottom) || !a || !b || !c || !d) {
        Fail(status, HostStatus::InputsDoNotFit,
             "%s cannot be placed on the grid of %s; are they of the same scene?", image.GetName().c_str(),
             pan.GetName().c_str());
        return std::nullopt;
    }
    RasterInfo info = image.GetInfo();
    info.xMin = grid.xMin + left * grid.pixelSizeX;
    info.xMax = grid.xMin + right * grid.pixelSizeX;
    info.yMin = grid.yMax - bottom * grid.pixelSizeY;
    info.yMax = grid.yMax - top * grid.pixelSizeY;
    info.pixelSizeX =
        (runsAlong ? (right - left) / columns : std::hypot(b->x - a->x, b->y - a->y)) * grid.pixelSizeX;
    info.pixelSizeY =
        (runsAlong ? (bottom - top) / rows : std::hypot(d->x - c->x, d->y - c->y)) * grid.pixelSizeY;
    return info;
}

} // namespace

std::unique_ptr<hostkit::Placement> PlaceByTransform(const InputImage& pan, const InputImage& image,
                                                     Status& status) {
    auto transform = GridTransform::Make(pan, image, status);
    if (!transform) return nullptr;
    const bool runsAlong = transform->RunsAlong();
    const auto info = DescribeOnPan(*transform, pan, image, runsAlong, status);
    if (!info) return nullptr;
    if (runsAlong) return std::make_unique<hostkit::AxisPlacement>(pan.GetInfo(), *info);
    auto map = transform->MakeMap(status);
    if (!map) return nullptr;
    return std::make_unique<hostkit::MapPlacement>(pan.GetInfo(), *info, *std::move(map),
                                                   std::move(transform));
}

} // namespace rasterhost
