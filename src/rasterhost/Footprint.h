#pragma once

#include "host/RasterInfo.h"
#include "rasterhost/AreaSums.h"

#include <optional>

namespace rasterhost {

/// Where the pixels of the multispectral grid lie along an axis of another image, in its pixels.
struct GridMap {
    double origin = 0.0;
    double step = 1.0;

    /// Of an edge between multispectral pixels. Positions within 1e-6 of a whole number are that number:
    /// georeferencing carries such noise.
    [[nodiscard]] double At(double edge) const;
};

/// Where the pixels of a block of the multispectral grid lie on another image.
struct Footprint {
    GridMap across, down;
    bool isTurned = false; ///< the two do not run along each other
    /// Then: how far one pixel down is right, and one to the right down.
    double acrossOfRow = 0.0, downOfColumn = 0.0;

    /// The mean of an image over a rectangle of multispectral pixels: exact where the two run along each
    /// other, else of regular points in it. None where any of it is not usable.
    [[nodiscard]] std::optional<double> Mean(const AreaSums& sums, double left, double top, double right,
                                             double bottom) const;
    /// The pixels of an image of some size beneath a rectangle.
    [[nodiscard]] hostkit::PixelRect Beneath(double left, double top, double right, double bottom,
                                             const KOVA::Tessara::Pixmere::RasterInfo& image) const;
};

} // namespace rasterhost
