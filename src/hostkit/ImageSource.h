#pragma once

#include "fundament/Status.h"
#include "hostkit/SampleBlock.h"

#include <string>

namespace hostkit {

/// An image that is read rectangle by rectangle: from files, from memory, or computed on the way. One thread
/// may use it at a time.
class ImageSource {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;
    /// Where failures are recorded.
    using Status = KOVA::Tessara::Fundament::Status;

    virtual ~ImageSource() = default;

    /// Size, bands and depth; position and pixel size in map units of the image's own.
    [[nodiscard]] virtual const RasterInfo& GetInfo() const = 0;
    /// The name that messages use for it.
    [[nodiscard]] virtual std::string GetName() const = 0;
    /// False when every pixel is known to have data.
    [[nodiscard]] virtual bool MayLackData() const = 0;

    /// Reads a rectangle of all bands into `out`: rows x columns x bands, packed. `out` is the caller's and
    /// aligned for samples of the depth. False, with an item, when it cannot be read.
    [[nodiscard]] virtual bool Read(const PixelRect& rect, unsigned char* out, Status& status) = 0;
    /// Tells which pixels of a rectangle have data in all bands: one byte per pixel, rows packed, 0 for no
    /// data. `samples` are those that Read gave for the same rectangle. False, with an item, when the mask
    /// cannot be read.
    [[nodiscard]] virtual bool ReadValid(const PixelRect& rect, const unsigned char* samples,
                                         unsigned char* valid, Status& status) = 0;
};

} // namespace hostkit
