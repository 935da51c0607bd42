#pragma once

#include "hostkit/Coarsening.h"
#include "hostkit/Point.h"
#include "hostkit/RowSampler.h"
#include "hostkit/SampleBlock.h"
#include "kernels/MappedRow.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace hostkit {

/// Where the pixels of the pan grid lie on a source whose axes are not parallel to pan's. Positions are
/// stored at control points, on every `step`-th pan pixel from the first of the image, and interpolated
/// bilinearly between four of them. So the position of a pixel does not depend on the window.
class PixelMap {
public:
    /// Positions count source pixels between centres: 0 is the centre of the first. `points` holds the
    /// control points row by row, `pointColumns` per row; NaN where a pan pixel has no position on the
    /// source.
    PixelMap(std::uint32_t step, std::uint32_t pointColumns, std::vector<Point> points);

    /// The number of control points along a row or column of `panPixels` pan pixels.
    [[nodiscard]] static std::uint32_t CountPoints(std::uint32_t panPixels, std::uint32_t step) {
        return (panPixels - 1) / step + 2;
    }

    /// Adds a displacement, in source pixels, to all positions. A displacement to the right samples further
    /// right.
    void Move(const Point& displacement) { moved = moved + displacement; }

    /// The straight lines on which the pan pixels col0 to col1 - 1 of a row lie. In any row they change at
    /// the same columns. Positions on a line that is followed by another lie between its two ends.
    void FindLines(std::uint32_t row, std::uint32_t col0, std::uint32_t col1,
                   std::vector<kernels::MappedLine>& lines) const;

    /// The positions of these pixels.
    void FindRow(std::uint32_t row, std::uint32_t col0, std::uint32_t col1, double* x, double* y) const;

    /// The source pixels that a window of pan is interpolated from, clipped to the source. One pixel when the
    /// window does not overlap the source.
    [[nodiscard]] PixelRect SourceRect(const PixelRect& panWindow, std::uint32_t sourceColumns,
                                       std::uint32_t sourceRows, Resampling resampling) const;

    /// The map between coarser pixels of both images. It keeps the control points and reads them at the
    /// centres of the coarser pan pixels. Beyond the last control point the map is extrapolated linearly.
    /// Call it only on a map at full size.
    [[nodiscard]] PixelMap Coarsen(const Coarsening& coarsening) const;

private:
    /// The position of a pan pixel along an axis: a control point and the distance beyond it, in steps.
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
