#pragma once

#include "fitting/AreaSums.h"
#include "host/RasterInfo.h"
#include "hostkit/GridMap.h"

#include <optional>

namespace fitting {

using hostkit::GridMap;

/// Where the pixels of a block of the multispectral grid lie on another image.
struct Footprint {
    GridMap across, down;
    bool isTurned = false; ///< their axes are not parallel
    /// Then: how far one pixel down is right, and one to the right down.
    double acrossOfRow = 0.0, downOfColumn = 0.0;

    /// The mean of an image over a rectangle of multispectral pixels: exact where their axes are parallel,
    /// else of regular points in it. None where any of it is not usable.
    [[nodiscard]] std::optional<double> Mean(const AreaSums& sums, double left, double top, double right,
                                             double bottom) const;
    /// The pixels of an image of some size beneath a rectangle.
    [[nodiscard]] hostkit::PixelRect Beneath(double left, double top, double right, double bottom,
                                             const KOVA::Tessara::Pixmere::RasterInfo& image) const;
    /// The pixels of a part of the multispectral grid that lie wholly on an image, where their axes are
    /// parallel. May be empty.
    [[nodiscard]] hostkit::PixelRect FindWhollyOn(const hostkit::PixelRect& part,
                                                  const KOVA::Tessara::Pixmere::RasterInfo& image) const;
};

} // namespace fitting
