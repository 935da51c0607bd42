#pragma once

#include "hostkit/SampleBlock.h"

namespace hostkit {

/// A coarser look at a pair. Pixels of pan are joined from the corner of a part of it, those of an image
/// beneath from its own corner; the last of a row or column may be made of fewer.
struct Coarsening {
    PixelRect part;        ///< of pan, the whole grid of the look
    unsigned panLevel = 0; ///< 2^panLevel x 2^panLevel pixels of pan become one
    unsigned ownLevel = 0; ///< the same for the image
};

/// Describes a part of an image in pixels of 2^level x 2^level of its own: as many as cover it, all of one
/// size.
[[nodiscard]] KOVA::Tessara::Pixmere::RasterInfo CoarseInfo(const KOVA::Tessara::Pixmere::RasterInfo& image,
                                                            const PixelRect& part, unsigned level);

} // namespace hostkit
