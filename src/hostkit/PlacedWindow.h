#pragma once

#include "hostkit/RasterBase.h"

namespace hostkit {

/// Which of the source pixels that a pan pixel is interpolated from have data. Pixels of weight 0 do not
/// count.
enum class Reach : unsigned char {
    None, ///< the pan pixel has no data
    Some, ///< some have data; the pan pixel is made of those
    All   ///< all have data
};

/// An image on a window of the pan grid: its rows, and where they have data. Row and column 0 are the
/// window's first. Rows are computed on demand; ascending order is the fastest.
class PlacedWindow : public RasterBase {
public:
    /// Finds where a row has data. Returns one entry per column of the window; null when every entry would be
    /// Reach::All. The entries and the row's samples stay valid until either is asked of another row, or
    /// another window is set.
    virtual const Reach* FindReach(std::uint32_t row) = 0;

protected:
    using RasterBase::RasterBase;
};

} // namespace hostkit
