#include "rasterhost/reading/PlainTiff.h"

#include "rasterhost/reading/FileState.h"
#include "rasterhost/requests/GdalErrors.h"

#include <fcntl.h>
#include <gdal_priv.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;

namespace {

bool StoresSamplesAsTheyAre(TIFF* file) {
    const std::uint16_t colours = ShortTag(file, TIFFTAG_PHOTOMETRIC);
    return !TIFFIsByteSwapped(file) && ShortTag(file, TIFFTAG_COMPRESSION) == COMPRESSION_NONE &&
           ShortTag(file, TIFFTAG_FILLORDER) == FILLORDER_MSB2LSB &&
           (ShortTag(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG ||
            ShortTag(file, TIFFTAG_SAMPLESPERPIXEL) == 1) &&
           (colours == PHOTOMETRIC_MINISBLACK || colours == PHOTOMETRIC_RGB);
}

bool ReadBytes(TIFF* file, std::uint64_t from, std::size_t bytes, unsigned char* to) {
    return pread(TIFFFileno(file), to, bytes, static_cast<off_t>(from)) == static_cast<ssize_t>(bytes);
}

} // namespace

std::unique_ptr<PlainTiff> PlainTiff::Open(const std::string& name, GDALDataset& dataset) {
    const GdalErrors silence;
    std::unique_ptr<PlainTiff> opened(new PlainTiff);
    opened->file = OpenLocalTiff(name);
    TIFF* file = opened->file.get();
    if (!file || !StoresSamplesAsTheyAre(file)) return nullptr;
    opened->fileBytes = LookAt(name).bytes;
    opened->blocks = TiffBlocks::Of(file);
    opened->bands = ShortTag(file, TIFFTAG_SAMPLESPERPIXEL);
    const int bits = ShortTag(file, TIFFTAG_BITSPERSAMPLE);
    opened->pixelBytes = std::size_t{opened->bands} * static_cast<unsigned>(bits) / 8;
    const int count = dataset.GetRasterCount();
    const bool isAsGdalFound = count > 0 && opened->bands == static_cast<std::uint32_t>(count) &&
                               opened->blocks.AreOf(*dataset.GetRasterBand(1)) &&
                               bits == GDALGetDataTypeSizeBits(dataset.GetRasterBand(1)->GetRasterDataType());
    if (!isAsGdalFound) return nullptr;
    opened->isAhead.resize(opened->blocks.areTiles ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file));
    return opened;
}

/// Asks the system for all of the blocks that a rectangle covers in part: who reads a part soon reads the
/// rest. Otherwise each part would wait for the disk.
void PlainTiff::AskAhead(const PixelRect& rect) {
    constexpr std::uint64_t mostBytes = std::uint64_t{1} << 20; ///< of a block: not a strip of many rows
    constexpr std::uint64_t gap = 4096;                         ///< a COG has a few bytes around each block
    std::uint64_t first = 0, end = 0;
    const auto ask = [&] {
        if (first < end)
            posix_fadvise(TIFFFileno(file.get()), static_cast<off_t>(first), static_cast<off_t>(end - first),
                          POSIX_FADV_WILLNEED);
    };
    const auto isCut = [](std::uint32_t from, std::uint32_t to, std::uint32_t side, std::uint32_t all) {
        return from % side != 0 || (to % side != 0 && to != all);
    };
    blocks.ForEach(rect, [&](const PixelRect& part, std::uint32_t number) {
        if (isAhead[number] || !(isCut(part.row0, part.row1, blocks.blockRows, blocks.rows) ||
                                 isCut(part.col0, part.col1, blocks.blockColumns, blocks.columns)))
            return true;
        isAhead[number] = true;
        const std::uint64_t offset = TIFFGetStrileOffset(file.get(), number);
        const std::uint64_t size = TIFFGetStrileByteCount(file.get(), number);
        if (size > mostBytes) return true;
        if (offset < end || offset - end > gap) {
            ask();
            first = offset;
        }
        end = offset + size;
        return true;
    });
    ask();
}

bool PlainTiff::Read(const PixelRect& rect, unsigned char* out) {
    AskAhead(rect);
    const std::size_t stride = rect.GetColumns() * pixelBytes;
    return blocks.ForEach(rect, [&](const PixelRect& part, std::uint32_t number) {
        return ReadBlock(part, number, stride,
                         out + (part.row0 - rect.row0) * stride + (part.col0 - rect.col0) * pixelBytes);
    });
}

bool PlainTiff::ReadBlock(const PixelRect& part, std::uint32_t block, std::size_t stride,
                          unsigned char* out) {
    const std::size_t rowBytes = blocks.blockColumns * pixelBytes, bytes = part.GetColumns() * pixelBytes;
    const std::size_t first =
        part.row0 % blocks.blockRows * rowBytes + part.col0 % blocks.blockColumns * pixelBytes;
    const std::size_t end = first + (part.GetRows() - 1) * rowBytes + bytes;
    const std::uint64_t offset = TIFFGetStrileOffset(file.get(), block);
    const std::uint64_t size = TIFFGetStrileByteCount(file.get(), block);
    // A whole block must be in the file, even if not all of it is wanted: else GDAL says that it is cut
    // short.
    if (offset == 0 || size < end || offset > fileBytes || size > fileBytes - offset) return false;
    if (bytes == rowBytes && bytes == stride) return ReadBytes(file.get(), offset + first, end - first, out);
    // Several rows in one call, with what lies between them, as long as they stay in the processor's cache.
    constexpr std::size_t mostBytes = std::size_t{1} << 17;
    const std::size_t mostRows = std::max<std::size_t>(mostBytes / rowBytes, 1);
    for (std::size_t row = 0; row < part.GetRows(); row += mostRows) {
        const std::size_t count = std::min<std::size_t>(mostRows, part.GetRows() - row);
        gathered.resize((count - 1) * rowBytes + bytes);
        if (!ReadBytes(file.get(), offset + first + row * rowBytes, gathered.size(), gathered.data()))
            return false;
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(out + (row + i) * stride, gathered.data() + i * rowBytes, bytes);
    }
    return true;
}

} // namespace rasterhost
