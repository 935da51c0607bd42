#include "fitting/Footprint.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace fitting {

using hostkit::PixelRect;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// First and end of the pixels that lie completely on an image of `pixels` pixels.
std::pair<std::uint32_t, std::uint32_t> WhollyOn(const GridMap& map, std::uint32_t pixels,
                                                 std::uint32_t first, std::uint32_t end) {
    while (first < end && map.At(first) < 0.0)
        ++first;
    while (end > first && map.At(end) > pixels)
        --end;
    return {first, end};
}

} // namespace

std::optional<double> Footprint::Mean(const AreaSums& sums, double left, double top, double right,
                                      double bottom) const {
    if (!isTurned) return sums.Mean(across.At(left), down.At(top), across.At(right), down.At(bottom));
    // About two points per pixel of the image along each side, but at most 8.
    const auto count = [](double pixels) { return std::clamp(std::ceil(2.0 * pixels), 2.0, 8.0); };
    const double columns = count((right - left) * std::hypot(across.step, downOfColumn));
    const double rows = count((bottom - top) * std::hypot(acrossOfRow, down.step));
    double sum = 0.0;
    for (double i = 0.5; i < rows; ++i)
        for (double j = 0.5; j < columns; ++j) {
            const double column = left + (right - left) * j / columns, row = top + (bottom - top) * i / rows;
            const double x = std::floor(across.origin + column * across.step + row * acrossOfRow);
            const double y = std::floor(down.origin + row * down.step + column * downOfColumn);
            const auto sample = sums.Mean(x, y, x + 1.0, y + 1.0);
            if (!sample) return std::nullopt;
            sum += *sample;
        }
    return sum / (rows * columns);
}

PixelRect Footprint::FindUnder(double left, double top, double right, double bottom,
                               const RasterInfo& image) const {
    const auto clamp = [](double position, std::uint32_t pixels) {
        return static_cast<std::uint32_t>(std::clamp(position, 0.0, static_cast<double>(pixels)));
    };
    double least[2] = {HUGE_VAL, HUGE_VAL}, greatest[2] = {-HUGE_VAL, -HUGE_VAL};
    for (const auto& [column, row] : {std::pair(left, top), {right, top}, {left, bottom}, {right, bottom}}) {
        const double x = across.At(column) + row * acrossOfRow, y = down.At(row) + column * downOfColumn;
        least[0] = std::min(least[0], x);
        least[1] = std::min(least[1], y);
        greatest[0] = std::max(greatest[0], x);
        greatest[1] = std::max(greatest[1], y);
    }
    return {clamp(std::floor(least[0]), image.cols), clamp(std::floor(least[1]), image.rows),
            clamp(std::ceil(greatest[0]), image.cols), clamp(std::ceil(greatest[1]), image.rows)};
}

PixelRect Footprint::FindWhollyOn(const PixelRect& part, const RasterInfo& image) const {
    const auto [col0, col1] = WhollyOn(across, image.cols, part.col0, part.col1);
    const auto [row0, row1] = WhollyOn(down, image.rows, part.row0, part.row1);
    return {col0, row0, col1, row1};
}

} // namespace fitting
