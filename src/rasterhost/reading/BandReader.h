#pragma once

#include "hostkit/SampleBlock.h"
#include "rasterhost/reading/ImageDescription.h"
#include "rasterhost/requests/HostStatus.h"

#include <cstdint>
#include <vector>

class GDALDataset;
class GDALRasterBand;

namespace rasterhost {

class MaskTiff;
class PlainTiff;

/// The handles that a band is read by, of an open file.
struct BandHandles {
    GDALDataset* dataset = nullptr; ///< null for an overview
    GDALRasterBand* band = nullptr;
    GDALRasterBand* mask = nullptr; ///< 0 for no data: a mask band or transparency; may be null
    MaskTiff* plainMask = nullptr;  ///< the same mask, to read it without GDAL; may be null
    PlainTiff* plain = nullptr;     ///< of the dataset, to read it without GDAL; may be null
};

/// Reads bands of one size together. One thread may use it at a time.
class BandReader {
public:
    /// Both must outlive the reader. The handles belong to the image's bands, in the same order.
    BandReader(const ImageDescription& image, const std::vector<BandHandles>& bandHandles)
        : bands(image.bands), handles(bandHandles), options(image.options), bits(image.info.bitsPerBand) {}

    /// Reads a rectangle of all bands, interleaved by pixel and packed. False with an item.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out, Status& status) const;
    /// Tells by the bands' values and masks which pixels have data in all bands: one byte per pixel, 0 for no
    /// data. `samples` are those that Read gave for the same rectangle. False with an item.
    [[nodiscard]] bool ReadValid(const hostkit::PixelRect& rect, const unsigned char* samples,
                                 unsigned char* valid, Status& status) const;

private:
    bool ReadBands(const hostkit::PixelRect& rect, std::size_t first, std::size_t end, unsigned char* out,
                   Status& status) const;
    bool ReadScaled(const hostkit::PixelRect& rect, std::size_t band, unsigned char* out,
                    Status& status) const;
    bool ReadMask(const hostkit::PixelRect& rect, std::size_t band, unsigned char* out, Status& status) const;
    bool CheckSigns(const hostkit::PixelRect& rect, std::size_t first, std::size_t end,
                    const unsigned char* samples, Status& status) const;

    const std::vector<SourceBand>& bands;
    const std::vector<BandHandles>& handles;
    const SampleOptions& options;
    std::uint32_t bits;
};

} // namespace rasterhost
