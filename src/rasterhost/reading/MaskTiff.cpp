#include "rasterhost/reading/MaskTiff.h"

#include "fundament/Text.h"
#include "rasterhost/requests/GdalErrors.h"

#include <gdal_priv.h>
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::ToLower;

std::unique_ptr<MaskTiff> MaskTiff::Open(const std::string& name, GDALRasterBand& mask) {
    GDALDataset* dataset = mask.GetDataset();
    if (!dataset || ToLower(dataset->GetDescription()).ends_with(".msk")) return nullptr;
    const GdalErrors silence;
    std::unique_ptr<MaskTiff> opened(new MaskTiff);
    opened->file = OpenLocalTiff(name);
    TIFF* file = opened->file.get();
    if (!file) return nullptr;
    const auto isMask = [&] {
        const std::uint32_t type = LongTag(file, TIFFTAG_SUBFILETYPE);
        return (type & FILETYPE_MASK) != 0 && (type & FILETYPE_REDUCEDIMAGE) == 0;
    };
    while (!isMask())
        if (!TIFFReadDirectory(file)) return nullptr;
    if (!TiffBlocks::Of(file).AreOf(mask)) return nullptr;
    const std::uint16_t colours = ShortTag(file, TIFFTAG_PHOTOMETRIC);
    if (ShortTag(file, TIFFTAG_BITSPERSAMPLE) != 1 || ShortTag(file, TIFFTAG_SAMPLESPERPIXEL) != 1 ||
        (colours != PHOTOMETRIC_MASK && colours != PHOTOMETRIC_MINISBLACK))
        return nullptr;
    opened->blocks = TiffBlocks::Of(file);
    opened->rowBytes = (std::size_t{opened->blocks.blockColumns} + 7) / 8;
    opened->held.resize(std::size_t{2} * opened->blocks.CountAcross());
    return opened;
}

namespace {

/// The bytes of eight pixels, the first in the highest bit.
constexpr std::array<std::array<unsigned char, 8>, 256> MakePixelsOfBits() {
    std::array<std::array<unsigned char, 8>, 256> pixels{};
    for (unsigned byte = 0; byte < 256; ++byte)
        for (unsigned bit = 0; bit < 8; ++bit)
            pixels[byte][bit] = (byte << bit & 0x80u) != 0 ? 0xFF : 0;
    return pixels;
}

void ExpandBits(const unsigned char* bits, std::uint32_t first, std::uint32_t end, unsigned char* valid) {
    static constexpr auto pixelsOf = MakePixelsOfBits();
    for (std::uint32_t column = first; column < end;) {
        const std::uint32_t inByte = column % 8, count = std::min(8 - inByte, end - column);
        const unsigned char* pixels = pixelsOf[bits[column / 8]].data() + inByte;
        if (count == 8) // of a size that is known
            std::memcpy(valid, pixels, 8);
        else
            std::copy_n(pixels, count, valid);
        column += count;
        valid += count;
    }
}

} // namespace

bool MaskTiff::Read(const PixelRect& rect, unsigned char* valid) {
    const std::size_t stride = rect.GetColumns();
    return blocks.ForEach(rect, [&](const PixelRect& part, std::uint32_t number) {
        const unsigned char* bits = FindBits(number);
        const std::uint32_t first = part.col0 % blocks.blockColumns;
        for (std::uint32_t row = part.row0; bits && row < part.row1; ++row)
            ExpandBits(bits + row % blocks.blockRows * rowBytes, first, first + part.GetColumns(),
                       valid + (row - rect.row0) * stride + (part.col0 - rect.col0));
        return bits != nullptr;
    });
}

const unsigned char* MaskTiff::FindBits(std::uint32_t number) {
    Block& block = held[number % held.size()];
    if (block.bits.empty() || block.number != number) {
        if (!Decode(number, block.bits)) {
            block.bits.clear();
            return nullptr;
        }
        block.number = number;
    }
    return block.bits.data();
}

/// A block that is stored like the one before has its bits.
bool MaskTiff::Decode(std::uint32_t number, std::vector<unsigned char>& bits) {
    TIFF* tiff = file.get();
    const std::size_t blockBytes = rowBytes * blocks.blockRows, mostRaw = 2 * blockBytes + 1024;
    const std::uint64_t rawBytes = TIFFGetStrileByteCount(tiff, number);
    if (TIFFGetStrileOffset(tiff, number) == 0 || rawBytes == 0 || rawBytes > mostRaw) return false;
    const GdalErrors silence;
    raw.resize(static_cast<std::size_t>(rawBytes));
    const auto size = static_cast<tmsize_t>(rawBytes);
    const bool isRead = (blocks.areTiles ? TIFFReadRawTile(tiff, number, raw.data(), size)
                                         : TIFFReadRawStrip(tiff, number, raw.data(), size)) == size;
    if (!isRead) return false;
    const std::uint32_t first =
        blocks.areTiles ? 0 : number * blocks.blockRows; // the last strip may have fewer rows
    const std::size_t wanted =
        rowBytes * (blocks.areTiles ? blocks.blockRows : std::min(blocks.blockRows, blocks.rows - first));
    if (raw != lastRaw || lastBits.size() != wanted) {
        lastRaw.clear(); // until it is decoded
        lastBits.resize(wanted);
        const auto room = static_cast<tmsize_t>(wanted);
        const tmsize_t decoded = blocks.areTiles ? TIFFReadEncodedTile(tiff, number, lastBits.data(), room)
                                                 : TIFFReadEncodedStrip(tiff, number, lastBits.data(), room);
        if (decoded != room) return false;
        lastRaw = raw;
    }
    bits = lastBits;
    return true;
}

} // namespace rasterhost
