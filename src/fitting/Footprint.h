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
    /// If so: how far one pixel down leads to the right, and one pixel to the right leads down.
    double acrossOfRow = 0.0, downOfColumn = 0.0;

    /// The mean of an image over a rectangle of multispectral pixels. It is exact when the axes are parallel,
    /// else the mean of regularly spaced points. Empty when any of it is not usable.
    [[nodiscard]] std::optional<double> Mean(const AreaSums& sums, double left, double top, double right,
                                             double bottom) const;
    /// The pixels of an image under a rectangle of multispectral pixels. `image` gives its size.
    [[nodiscard]] hostkit::PixelRect FindUnder(double left, double top, double right, double bottom,
                                               const KOVA::Tessara::Pixmere::RasterInfo& image) const;
    /// The pixels of a part of the multispectral grid that lie completely on an image. Axes must be parallel.
    /// May be empty.
    [[nodiscard]] hostkit::PixelRect FindWhollyOn(const hostkit::PixelRect& part,
                                                  const KOVA::Tessara::Pixmere::RasterInfo& image) const;
};

} // namespace fitting
