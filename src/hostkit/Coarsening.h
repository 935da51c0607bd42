#pragma once

#include "hostkit/SampleBlock.h"

namespace hostkit {

/// A pair in coarser pixels. Pixels of pan are joined from the corner of `part`, those of an image under it
/// from the image's own corner. The last pixel of a row or column may be joined from fewer.
struct Coarsening {
    PixelRect part;        ///< of pan, in its pixels: the grid that the coarser pan covers
    unsigned panLevel = 0; ///< 2^panLevel x 2^panLevel pixels of pan become one
    unsigned ownLevel = 0; ///< the same for the image
};

/// How many pixels, each 2^level pixels wide, cover `pixels` pixels. `pixels` is at least 1, and so is the
/// result.
[[nodiscard]] constexpr std::uint32_t CoarseCount(std::uint32_t pixels, unsigned level) {
    return ((pixels - 1) >> level) + 1;
}

/// The pixels of 2^level x 2^level that overlap a rectangle. The rectangle is not empty.
[[nodiscard]] constexpr PixelRect CoarseRect(const PixelRect& rect, unsigned level) {
    return {rect.col0 >> level, rect.row0 >> level, CoarseCount(rect.col1, level),
            CoarseCount(rect.row1, level)};
}

/// Describes a part of an image in pixels of 2^level x 2^level of its own. They all have one size and cover
/// the part.
[[nodiscard]] KOVA::Tessara::Pixmere::RasterInfo CoarseInfo(const KOVA::Tessara::Pixmere::RasterInfo& image,
                                                            const PixelRect& part, unsigned level);

} // namespace hostkit
