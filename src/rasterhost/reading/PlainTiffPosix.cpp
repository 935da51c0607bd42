#include "rasterhost/reading/PlainTiff.h"

#include "rasterhost/reading/FileState.h"
#include "rasterhost/requests/GdalErrors.h"

#include <gdal_priv.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace rasterhost {

using hostkit::PixelRect;

namespace {

std::uint32_t FieldOf(TIFF* file, std::uint32_t tag) {
    std::uint32_t value = 0;
    TIFFGetField(file, tag, &value);
    return value;
}

std::uint16_t ShortFieldOf(TIFF* file, std::uint32_t tag) {
    std::uint16_t value = 0;
    TIFFGetFieldDefaulted(file, tag, &value);
    return value;
}

bool StoresSamplesAsTheyAre(TIFF* file) {
    const std::uint16_t colours = ShortFieldOf(file, TIFFTAG_PHOTOMETRIC);
    return !TIFFIsByteSwapped(file) && ShortFieldOf(file, TIFFTAG_COMPRESSION) == COMPRESSION_NONE &&
           ShortFieldOf(file, TIFFTAG_FILLORDER) == FILLORDER_MSB2LSB &&
           (ShortFieldOf(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG ||
            ShortFieldOf(file, TIFFTAG_SAMPLESPERPIXEL) == 1) &&
           (colours == PHOTOMETRIC_MINISBLACK || colours == PHOTOMETRIC_RGB);
}

bool ReadBytes(TIFF* file, std::uint64_t from, std::size_t bytes, unsigned char* to) {
    return pread(TIFFFileno(file), to, bytes, static_cast<off_t>(from)) == static_cast<ssize_t>(bytes);
}

} // namespace

void PlainTiff::Closer::operator()(tiff* opened) const { TIFFClose(opened); }

std::unique_ptr<PlainTiff> PlainTiff::Open(const std::string& name, GDALDataset& dataset) {
    const GDALDriver* driver = dataset.GetDriver();
    if (!driver || std::strcmp(driver->GetDescription(), "GTiff") != 0 || name.starts_with("/vsi") ||
        !LookAt(name).isFile)
        return nullptr;
    const GdalErrors silence;
    std::unique_ptr<PlainTiff> opened(new PlainTiff);
    // Not mapped into memory: a file that is cut short meanwhile would end the process.
    opened->file.reset(TIFFOpen(name.c_str(), "rm"));
    TIFF* file = opened->file.get();
    if (!file || !StoresSamplesAsTheyAre(file)) return nullptr;
    opened->columns = FieldOf(file, TIFFTAG_IMAGEWIDTH);
    opened->rows = FieldOf(file, TIFFTAG_IMAGELENGTH);
    opened->bands = ShortFieldOf(file, TIFFTAG_SAMPLESPERPIXEL);
    opened->pixelBytes = std::size_t{opened->bands} * (ShortFieldOf(file, TIFFTAG_BITSPERSAMPLE) / 8);
    const bool isTiled = TIFFIsTiled(file) != 0;
    opened->blockColumns = isTiled ? FieldOf(file, TIFFTAG_TILEWIDTH) : opened->columns;
    opened->blockRows = isTiled ? FieldOf(file, TIFFTAG_TILELENGTH)
                                : std::min(FieldOf(file, TIFFTAG_ROWSPERSTRIP), opened->rows);
    return opened->IsOf(dataset) ? std::move(opened) : nullptr;
}

/// True when GDAL has found the same.
bool PlainTiff::IsOf(GDALDataset& dataset) const {
    if (bands == 0 || dataset.GetRasterCount() != static_cast<int>(bands) || blockColumns == 0 ||
        blockRows == 0 || static_cast<std::uint32_t>(dataset.GetRasterXSize()) != columns ||
        static_cast<std::uint32_t>(dataset.GetRasterYSize()) != rows)
        return false;
    GDALRasterBand& band = *dataset.GetRasterBand(1);
    int width = 0, height = 0;
    band.GetBlockSize(&width, &height);
    const auto sampleBytes = static_cast<std::size_t>(GDALGetDataTypeSizeBytes(band.GetRasterDataType()));
    return ShortFieldOf(file.get(), TIFFTAG_BITSPERSAMPLE) == 8 * sampleBytes &&
           static_cast<std::uint32_t>(width) == blockColumns &&
           static_cast<std::uint32_t>(height) == blockRows;
}

bool PlainTiff::Read(const PixelRect& rect, unsigned char* out) {
    const std::size_t stride = rect.GetColumns() * pixelBytes;
    const std::uint32_t blocksAcross = (columns - 1) / blockColumns + 1;
    for (PixelRect part = rect; part.row0 < rect.row1; part.row0 = part.row1) {
        part.row1 = part.row0 + std::min(blockRows - part.row0 % blockRows, rect.row1 - part.row0);
        for (part.col0 = rect.col0; part.col0 < rect.col1; part.col0 = part.col1) {
            part.col1 = part.col0 + std::min(blockColumns - part.col0 % blockColumns, rect.col1 - part.col0);
            const std::uint32_t block = part.row0 / blockRows * blocksAcross + part.col0 / blockColumns;
            unsigned char* to = out + (part.row0 - rect.row0) * stride + (part.col0 - rect.col0) * pixelBytes;
            if (!ReadBlock(part, block, stride, to)) return false;
        }
    }
    return true;
}

bool PlainTiff::ReadBlock(const PixelRect& part, std::uint32_t block, std::size_t stride,
                          unsigned char* out) {
    const std::size_t rowBytes = blockColumns * pixelBytes, bytes = part.GetColumns() * pixelBytes;
    const std::size_t first = part.row0 % blockRows * rowBytes + part.col0 % blockColumns * pixelBytes;
    const std::size_t end = first + (part.GetRows() - 1) * rowBytes + bytes;
    const std::uint64_t offset = TIFFGetStrileOffset(file.get(), block);
    if (offset == 0 || TIFFGetStrileByteCount(file.get(), block) < end) return false;
    if (bytes == rowBytes && bytes == stride) return ReadBytes(file.get(), offset + first, end - first, out);
    // Several rows in one call, with what lies between them, as long as they stay in the processor's cache.
    constexpr std::size_t mostBytes = std::size_t{1} << 17;
    const std::size_t mostRows = std::max<std::size_t>(mostBytes / rowBytes, 1);
    for (std::size_t row = 0; row < part.GetRows(); row += mostRows) {
        const std::size_t count = std::min<std::size_t>(mostRows, part.GetRows() - row);
        some.resize((count - 1) * rowBytes + bytes);
        if (!ReadBytes(file.get(), offset + first + row * rowBytes, some.size(), some.data())) return false;
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(out + (row + i) * stride, some.data() + i * rowBytes, bytes);
    }
    return true;
}

} // namespace rasterhost
