#pragma once

#include "hostkit/RasterBase.h"

namespace hostkit {

/// How many of the source pixels that a pan pixel is interpolated from have data. Those of weight 0 do not
/// count.
enum class Reach : unsigned char {
    None, ///< the pan pixel has no data
    Some, ///< it is made of those that have
    All   ///< it is made of all of them
};

/// An image on a window of the pan grid: its rows, and how far its data reach there. Row and column 0 are the
/// window's first. Rows are computed when they are asked for; ascending order costs least.
class PlacedWindow : public RasterBase {
public:
    /// Finds for a row how far data reach: one entry for every column of the window that was opened. False
    /// when all of the row is Reach::All; the entries say nothing then.
    virtual bool FindReach(std::uint32_t row, Reach* reach) = 0;

protected:
    using RasterBase::RasterBase;
};

} // namespace hostkit
