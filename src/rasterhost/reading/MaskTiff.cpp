#include "rasterhost/reading/MaskTiff.h"

#include "fundament/Text.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/requests/GdalErrors.h"

#include <gdal_priv.h>
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::ToLower;

void MaskTiff::Closer::operator()(tiff* opened) const { TIFFClose(opened); }

std::unique_ptr<MaskTiff> MaskTiff::Open(const std::string& name, GDALRasterBand& mask) {
    GDALDataset* dataset = mask.GetDataset();
    if (!dataset || ToLower(dataset->GetDescription()).ends_with(".msk") || name.starts_with("/vsi") ||
        !LookAt(name).isFile)
        return nullptr;
    const GdalErrors silence;
    std::unique_ptr<MaskTiff> opened(new MaskTiff);
    // Not mapped into memory: a file that is cut short meanwhile would end the process.
    opened->file.reset(TIFFOpen(name.c_str(), "rm"));
    TIFF* file = opened->file.get();
    const auto field = [&](std::uint32_t tag) {
        std::uint32_t value = 0;
        TIFFGetField(file, tag, &value);
        return value;
    };
    const auto shortField = [&](std::uint32_t tag) {
        std::uint16_t value = 0;
        TIFFGetFieldDefaulted(file, tag, &value);
        return value;
    };
    const auto columns = static_cast<std::uint32_t>(mask.GetXSize());
    const auto rows = static_cast<std::uint32_t>(mask.GetYSize());
    const auto isMask = [&] {
        return field(TIFFTAG_SUBFILETYPE) == FILETYPE_MASK && field(TIFFTAG_IMAGEWIDTH) == columns &&
               field(TIFFTAG_IMAGELENGTH) == rows;
    };
    if (!file) return nullptr;
    while (!isMask())
        if (!TIFFReadDirectory(file)) return nullptr;
    const std::uint16_t colours = shortField(TIFFTAG_PHOTOMETRIC);
    if (shortField(TIFFTAG_BITSPERSAMPLE) != 1 || shortField(TIFFTAG_SAMPLESPERPIXEL) != 1 ||
        (colours != PHOTOMETRIC_MASK && colours != PHOTOMETRIC_MINISBLACK))
        return nullptr;
    opened->isTiled = TIFFIsTiled(file) != 0;
    opened->columns = columns;
    opened->rows = rows;
    opened->blockColumns = opened->isTiled ? field(TIFFTAG_TILEWIDTH) : columns;
    opened->blockRows =
        opened->isTiled ? field(TIFFTAG_TILELENGTH) : std::min(field(TIFFTAG_ROWSPERSTRIP), rows);
    int width = 0, height = 0;
    mask.GetBlockSize(&width, &height);
    if (width <= 0 || height <= 0 || static_cast<std::uint32_t>(width) != opened->blockColumns ||
        static_cast<std::uint32_t>(height) != opened->blockRows)
        return nullptr;
    opened->rowBytes = (std::size_t{opened->blockColumns} + 7) / 8;
    opened->held.resize(std::size_t{2} * ((columns - 1) / opened->blockColumns + 1));
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
    const std::uint32_t across = (columns - 1) / blockColumns + 1;
    for (std::uint32_t row = rect.row0, endRow = 0; row < rect.row1; row = endRow) {
        endRow = row + std::min(blockRows - row % blockRows, rect.row1 - row);
        for (std::uint32_t column = rect.col0, end = 0; column < rect.col1; column = end) {
            const std::uint32_t first = column % blockColumns;
            end = column + std::min(blockColumns - first, rect.col1 - column);
            const unsigned char* bits = FindBits(row / blockRows * across + column / blockColumns);
            if (!bits) return false;
            for (std::uint32_t r = row; r < endRow; ++r)
                ExpandBits(bits + r % blockRows * rowBytes, first, first + (end - column),
                           valid + (r - rect.row0) * stride + (column - rect.col0));
        }
    }
    return true;
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
    const std::size_t blockBytes = rowBytes * blockRows, mostRaw = 2 * blockBytes + 1024;
    const std::uint64_t rawBytes = TIFFGetStrileByteCount(tiff, number);
    if (TIFFGetStrileOffset(tiff, number) == 0 || rawBytes == 0 || rawBytes > mostRaw) return false;
    const GdalErrors silence;
    raw.resize(static_cast<std::size_t>(rawBytes));
    const auto size = static_cast<tmsize_t>(rawBytes);
    const bool isRead = (isTiled ? TIFFReadRawTile(tiff, number, raw.data(), size)
                                 : TIFFReadRawStrip(tiff, number, raw.data(), size)) == size;
    if (!isRead) return false;
    const std::uint32_t first = isTiled ? 0 : number * blockRows; // the last strip may have fewer rows
    const std::size_t wanted = rowBytes * (isTiled ? blockRows : std::min(blockRows, rows - first));
    if (raw != lastRaw || lastBits.size() != wanted) {
        lastRaw.clear(); // until it is decoded
        lastBits.resize(wanted);
        const auto room = static_cast<tmsize_t>(wanted);
        const tmsize_t decoded = isTiled ? TIFFReadEncodedTile(tiff, number, lastBits.data(), room)
                                         : TIFFReadEncodedStrip(tiff, number, lastBits.data(), room);
        if (decoded != room) return false;
        lastRaw = raw;
    }
    bits = lastBits;
    return true;
}

} // namespace rasterhost
