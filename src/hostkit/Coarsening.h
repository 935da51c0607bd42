#pragma once

#include "hostkit/SampleBlock.h"

namespace hostkit {

/// A pair in coarser pixels. Pixels of pan are joined from the corner of a part of it, those of an image
/// beneath from its own corner; the last of a row or column may be made of fewer.
struct Coarsening {
    PixelRect part;        ///< of pan, the whole grid of the look
    unsigned panLevel = 0; ///< 2^panLevel x 2^panLevel pixels of pan become one
    unsigned ownLevel = 0; ///< the same for the image
};

/// How many pixels, each 2^level pixels wide, cover `pixels` pixels; 1 or more.
[[nodiscard]] constexpr std::uint32_t CoarseCount(std::uint32_t pixels, unsigned level) {
    return ((pixels - 1) >> level) + 1;
}

/// The pixels of 2^level x 2^level that some of a rectangle lies in, which is not empty.
[[nodiscard]] constexpr PixelRect CoarseRect(const PixelRect& rect, unsigned level) {
    return {rect.col0 >> level, rect.row0 >> level, CoarseCount(rect.col1, level),
            CoarseCount(rect.row1, level)};
}

/// Describes a part of an image in pixels of 2^level x 2^level of its own, all of one size, that cover it.
[[nodiscard]] KOVA::Tessara::Pixmere::RasterInfo CoarseInfo(const KOVA::Tessara::Pixmere::RasterInfo& image,
                                                            const PixelRect& part, unsigned level);

} // namespace hostkit
