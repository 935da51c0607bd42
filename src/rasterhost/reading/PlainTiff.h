#pragma once

#include "rasterhost/reading/LocalTiff.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class GDALDataset;

namespace rasterhost {

/// A local TIFF that stores samples as they are: uncompressed, interleaved by pixel, in this machine's byte
/// order. They are read to where they are wanted. GDAL reads whole blocks into its cache, takes the bands
/// apart and puts them together again.
class PlainTiff {
public:
    /// The file of a GeoTIFF that GDAL has opened by this name. Null for any other file.
    [[nodiscard]] static std::unique_ptr<PlainTiff> Open(const std::string& name, GDALDataset& dataset);

    /// Samples per pixel, and their bytes.
    [[nodiscard]] std::uint32_t GetBands() const { return bands; }
    [[nodiscard]] std::size_t GetPixelBytes() const { return pixelBytes; }
    /// Reads a rectangle within the image: all bands, interleaved by pixel and packed. One thread at a time.
    /// False when a block is missing or cut short; GDAL then knows what to do.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* out);

private:
    PlainTiff() = default;
    void AskAhead(const hostkit::PixelRect& rect);
    bool ReadBlock(const hostkit::PixelRect& part, std::uint32_t block, std::size_t stride,
                   unsigned char* out);

    LocalTiff file;
    TiffBlocks blocks;
    std::uint32_t bands = 0;
    std::size_t pixelBytes = 0;
    std::uint64_t fileBytes = 0;
    std::vector<unsigned char> gathered; ///< rows of a block
    std::vector<bool> isAhead;           ///< per block: the system was asked for all of it
};

} // namespace rasterhost
