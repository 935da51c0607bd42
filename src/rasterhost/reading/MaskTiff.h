#pragma once

#include "rasterhost/reading/LocalTiff.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace rasterhost {

/// The mask within a local TIFF, one bit per pixel. GDAL decodes every block, though most are like the one
/// before, and makes bytes of its bits one by one.
class MaskTiff {
public:
    /// The file that GDAL has opened by this name, and the mask that it found for its bands. Null when the
    /// mask is of another kind.
    [[nodiscard]] static std::unique_ptr<MaskTiff> Open(const std::string& name, GDALRasterBand& mask);

    /// Reads a rectangle within the image: one byte per pixel, 0xFF with data and 0 without. One thread at a
    /// time. False when a block is missing or damaged; GDAL then knows what to do.
    [[nodiscard]] bool Read(const hostkit::PixelRect& rect, unsigned char* valid);

private:
    struct Block {
        std::uint32_t number = 0;
        std::vector<unsigned char> bits; ///< empty until it is read
    };
    MaskTiff() = default;
    const unsigned char* FindBits(std::uint32_t number);
    bool Decode(std::uint32_t number, std::vector<unsigned char>& bits);

    LocalTiff file;
    TiffBlocks blocks;
    std::size_t rowBytes = 0; ///< of a block
    std::vector<Block> held;  ///< of two rows of blocks, which windows share
    std::vector<unsigned char> raw, lastRaw, lastBits;
};

} // namespace rasterhost
