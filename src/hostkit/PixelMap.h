#pragma once

#include "hostkit/Coarsening.h"
#include "hostkit/Point.h"
#include "hostkit/RowSampler.h"
#include "hostkit/SampleBlock.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace hostkit {

/// Where the pixels of the pan grid lie on a source whose axes are not parallel to pan's. Positions are known
/// at control points, on every `step`-th pan pixel from the first of the image, and interpolated between four
/// of them: a pixel's position depends on nothing but its number.
class PixelMap {
public:
    /// Positions count source pixels between their centres: 0 is the centre of the first. `points` row by
    /// row, `pointColumns` a row; not a number where a pan pixel has no place on the source.
    PixelMap(std::uint32_t step, std::uint32_t pointColumns, std::vector<Point> points);

    /// How many control points a row or column of this many pan pixels has.
    [[nodiscard]] static std::uint32_t CountPoints(std::uint32_t panPixels, std::uint32_t step) {
        return (panPixels - 1) / step + 2;
    }

    /// Moves all positions, in source pixels: content that is displaced to the right is looked for there.
    void Move(const Point& way) { moved = moved + way; }

    /// Positions of the pan pixels col0 to col1 - 1 of a row.
    void FindRow(std::uint32_t row, std::uint32_t col0, std::uint32_t col1, double* x, double* y) const;

    /// The source pixels that a window of pan is interpolated from, within the source; one pixel where the
    /// window lies beside it.
    [[nodiscard]] PixelRect SourceRect(const PixelRect& panWindow, std::uint32_t sourceColumns,
                                       std::uint32_t sourceRows, Resampling resampling) const;

    /// The map between coarser pixels of both: the same control points, looked at where the centres of those
    /// of pan lie. Beyond the last control point the way goes on as it led there. Of a map at full size.
    [[nodiscard]] PixelMap Coarsen(const Coarsening& coarsening) const;

private:
    /// Where a pixel of pan lies along an axis: how far beyond a control point, in steps.
    struct Place {
        std::uint32_t point;
        double fraction;
    };
    [[nodiscard]] std::uint64_t Centre(std::uint32_t pixel, std::uint32_t origin) const;
    [[nodiscard]] Place Find(std::uint64_t centre, std::uint32_t pointCount) const;
    [[nodiscard]] std::uint32_t EndOf(std::uint32_t point, std::uint32_t pointCount,
                                      std::uint32_t origin) const;
    [[nodiscard]] std::uint32_t CountRows() const;
    [[nodiscard]] Point Position(std::uint64_t x, std::uint64_t y) const;
    [[nodiscard]] double ToSource(double at) const;

    std::uint32_t step;
    std::uint32_t pointColumns;
    std::shared_ptr<const std::vector<Point>> points;
    Point moved;
    Coarsening look; ///< its levels are 0 at full size
};

} // namespace hostkit
