#pragma once

#include "fundament/Status.h"
#include "hostkit/SampleBlock.h"

#include <string>

namespace hostkit {

/// An image that is read rectangle by rectangle: from files, from memory, or computed on the way. Not for two
/// threads at a time.
class ImageSource {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;
    /// Where failures are recorded.
    using Status = KOVA::Tessara::Fundament::Status;

    virtual ~ImageSource() = default;

    /// Size, bands and depth; the place and pixel size in units of its own.
    [[nodiscard]] virtual const RasterInfo& GetInfo() const = 0;
    /// What messages call it.
    [[nodiscard]] virtual std::string GetName() const = 0;
    /// False when every pixel is known to have data.
    [[nodiscard]] virtual bool MayLackData() const = 0;

    /// Reads a rectangle of all bands, interleaved by pixel and packed, into `out`, which is aligned for
    /// samples of the depth. False with an item.
    [[nodiscard]] virtual bool Read(const PixelRect& rect, unsigned char* out, Status& status) = 0;
    /// Tells which pixels of a rectangle have data in all bands: one byte per pixel, rows packed, not 0 where
    /// they have. `samples` are those that Read gave for the same rectangle. False with an item.
    [[nodiscard]] virtual bool ReadValid(const PixelRect& rect, const unsigned char* samples,
                                         unsigned char* valid, Status& status) = 0;
};

} // namespace hostkit
