#include "hostkit/RequestRecord.h"

#include "fundament/Text.h"
#include "hostkit/HostKitStatus.h"

#include <algorithm>
#include <cmath>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Pixmere::Aoi;
using KOVA::Tessara::Pixmere::Extent;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// The value of the client's "RasterGroup/Srs". A process that asks in pixel coordinates writes it as the
/// record's spatial reference.
constexpr const char* pixelReference = "host:pixels";

constexpr std::uint32_t largestNumber = 0xFFFFFFFFu;

bool IsHalf(double value) { return value - std::floor(value) == 0.5; }

/// True when the bounds on an axis have the form of a request in pixel coordinates.
bool CountsPixels(double low, double high, std::uint32_t size) {
    return IsHalf(low) && high - low == static_cast<double>(size) + 1.0;
}

bool Fits(double span, double pixelSize, std::uint32_t size) {
    return std::fabs(span / pixelSize - static_cast<double>(size)) < 0.5;
}

/// The first pixel of the window on one axis, if it and the window's end are whole 32-bit numbers.
std::optional<std::uint32_t> FirstPixel(double position, std::uint32_t size) {
    const double first = std::floor(position + 0.5);
    if (!(first >= 0.0) || first > static_cast<double>(largestNumber - size)) return std::nullopt;
    return static_cast<std::uint32_t>(first);
}

} // namespace

PixelRect WholeImage(const RasterInfo& info) { return {0, 0, info.cols, info.rows}; }

RasterInfo WindowInfo(const RasterInfo& grid, const PixelRect& window) {
    RasterInfo info = grid;
    info.cols = window.GetColumns();
    info.rows = window.GetRows();
    info.xMin = grid.xMin + window.col0 * grid.pixelSizeX;
    info.xMax = info.xMin + info.cols * grid.pixelSizeX;
    info.yMax = grid.yMax - window.row0 * grid.pixelSizeY;
    info.yMin = info.yMax - info.rows * grid.pixelSizeY;
    return info;
}

Aoi MakeRequest(const RasterInfo& grid, const PixelRect& window, const std::string& srs) {
    Aoi request;
    Extent bounds;
    bounds.left = grid.xMin + window.col0 * grid.pixelSizeX;
    bounds.right = grid.xMin + window.col1 * grid.pixelSizeX;
    bounds.vertical1 = grid.yMax - window.row1 * grid.pixelSizeY;
    bounds.vertical2 = grid.yMax - window.row0 * grid.pixelSizeY;
    request.extent = bounds;
    request.requestExtent = bounds;
    request.size = {window.GetColumns(), window.GetRows()};
    request.requestSize = request.size;
    request.srs = srs;
    request.properties["RasterGroup/Srs"] = pixelReference;
    return request;
}

std::optional<RequestedWindow> FindRequestedWindow(const Aoi& request, const RasterInfo& grid,
                                                   Status& status) {
    const Extent& bounds = request.extent;
    const auto [low, high] = std::minmax(bounds.vertical1, bounds.vertical2);
    const auto [columns, rows] = request.size;
    const bool fitsMap =
        Fits(bounds.right - bounds.left, grid.pixelSizeX, columns) && Fits(high - low, grid.pixelSizeY, rows);
    const bool inPixels = CountsPixels(bounds.left, bounds.right, columns) && CountsPixels(low, high, rows) &&
                          (request.srs == pixelReference || !fitsMap);
    if (columns != 0 && rows != 0 && (fitsMap || inPixels)) {
        // In pixel coordinates rows count downward, so the lower number is the first row.
        const auto col0 =
            FirstPixel(inPixels ? bounds.left + 0.5 : (bounds.left - grid.xMin) / grid.pixelSizeX, columns);
        const auto row0 = FirstPixel(inPixels ? low + 0.5 : (grid.yMax - high) / grid.pixelSizeY, rows);
        if (col0 && row0) return RequestedWindow{{*col0, *row0, *col0 + columns, *row0 + rows}, inPixels};
    }
    status.Add(HostKitStatus::RequestInvalid,
               FormatString("the request for %u x %u pixels with the bounds %.10g to %.10g and %.10g to "
                            "%.10g is not a window of the grid with the corner (%.10g, %.10g) and pixels of "
                            "%.10g x %.10g; write the request record again for every window",
                            columns, rows, bounds.left, bounds.right, low, high, grid.xMin, grid.yMax,
                            grid.pixelSizeX, grid.pixelSizeY),
               "Host.RequestRecord");
    return std::nullopt;
}

} // namespace hostkit
