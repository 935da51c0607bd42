#pragma once

#include "hostkit/SampleBlock.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

class GDALRasterBand;
struct tiff;

namespace rasterhost {

struct TiffCloser {
    void operator()(tiff* opened) const;
};
/// A TIFF that libtiff has open, beside GDAL or after it. Errors go to libtiff's handlers, which are GDAL's.
using LocalTiff = std::unique_ptr<tiff, TiffCloser>;

/// Opens a file of this name to be read. Null when it is no regular local file, or no TIFF.
[[nodiscard]] LocalTiff OpenLocalTiff(const std::string& name);

/// A tag with a number of 32 bits of the current image; 0 where it is absent.
[[nodiscard]] std::uint32_t LongTag(tiff* file, std::uint32_t tag);
/// A tag with a number of 16 bits of the current image; its default where it is absent, or else 0.
[[nodiscard]] std::uint16_t ShortTag(tiff* file, std::uint32_t tag);

/// The tiles or strips of an image, numbered along rows of them.
struct TiffBlocks {
    std::uint32_t columns = 0, rows = 0; ///< of the image
    std::uint32_t blockColumns = 0, blockRows = 0;
    bool areTiles = false;

    /// Those of the current image; all interleaved by pixel.
    [[nodiscard]] static TiffBlocks Of(tiff* file);
    /// True when GDAL reads a band in the same blocks, and there are any.
    [[nodiscard]] bool AreOf(GDALRasterBand& band) const;
    [[nodiscard]] std::uint32_t CountAcross() const { return (columns - 1) / blockColumns + 1; }

    /// Calls `visit(part, number)` for the part of a rectangle within each block, and for the block's number.
    /// Stops and returns false when it does. The rectangle lies within the image.
    template <class Visit>
    bool ForEach(const hostkit::PixelRect& rect, Visit visit) const {
        for (hostkit::PixelRect part = rect; part.row0 < rect.row1; part.row0 = part.row1) {
            part.row1 = part.row0 + std::min(blockRows - part.row0 % blockRows, rect.row1 - part.row0);
            for (part.col0 = rect.col0; part.col0 < rect.col1; part.col0 = part.col1) {
                part.col1 =
                    part.col0 + std::min(blockColumns - part.col0 % blockColumns, rect.col1 - part.col0);
                if (!visit(part, part.row0 / blockRows * CountAcross() + part.col0 / blockColumns))
                    return false;
            }
        }
        return true;
    }
};

} // namespace rasterhost
