#pragma once

#include "hostkit/SampleBlock.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class GDALDataset;
struct tiff;

namespace rasterhost {

/// A local TIFF that stores samples as they are: uncompressed, interleaved by pixel, in this machine's byte
/// order. They are read to where they are wanted. GDAL reads whole blocks into its cache, takes the bands
/// apart and puts them together again.
class PlainTiff {
public:
    /// The file of a dataset that GDAL has opened by this name. Null for any other file.
    [[nodiscard]] static std::unique_ptr<PlainTiff> Open(const std::string& name, GDALDataset& dataset);

    /// Samples per pixel.
    [[nodiscard]] std::uint32_t GetBands() const { return bands; }
    /// Reads a rectangle within the image: all bands, interleaved by pixel and packed. One thread at a time.
    /// False when a block is missing or cut short; GDAL then knows what to do.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out);

private:
    struct Closer {
        void operator()(tiff* opened) const;
    };
    PlainTiff() = default;
    [[nodiscard]] bool IsOf(GDALDataset& dataset) const;
    bool ReadBlock(const hostkit::PixelRect& part, std::uint32_t block, std::size_t stride,
                   unsigned char* out);

    std::unique_ptr<tiff, Closer> file;
    std::uint32_t columns = 0, rows = 0, bands = 0;
    std::uint32_t blockColumns = 0, blockRows = 0; ///< of a tile or strip
    std::size_t pixelBytes = 0;
    std::vector<unsigned char> some; ///< rows of a block
};

} // namespace rasterhost
