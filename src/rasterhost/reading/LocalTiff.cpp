#include "rasterhost/reading/LocalTiff.h"

#include "rasterhost/reading/FileState.h"

#include <gdal_priv.h>
#include <tiffio.h>

namespace rasterhost {

void TiffCloser::operator()(tiff* opened) const { TIFFClose(opened); }

LocalTiff OpenLocalTiff(const std::string& name) {
    if (name.starts_with("/vsi") || !LookAt(name).isFile) return nullptr;
    // Not mapped into memory: a file that is cut short meanwhile would end the process. Places of blocks are
    // read when they are needed, and are left as they are.
    return LocalTiff(TIFFOpen(name.c_str(), "rmO"));
}

std::uint32_t LongTag(tiff* file, std::uint32_t tag) {
    std::uint32_t value = 0;
    TIFFGetField(file, tag, &value);
    return value;
}

std::uint16_t ShortTag(tiff* file, std::uint32_t tag) {
    std::uint16_t value = 0;
    TIFFGetFieldDefaulted(file, tag, &value);
    return value;
}

TiffBlocks TiffBlocks::Of(tiff* file) {
    TiffBlocks blocks;
    blocks.columns = LongTag(file, TIFFTAG_IMAGEWIDTH);
    blocks.rows = LongTag(file, TIFFTAG_IMAGELENGTH);
    blocks.areTiles = TIFFIsTiled(file) != 0;
    blocks.blockColumns = blocks.areTiles ? LongTag(file, TIFFTAG_TILEWIDTH) : blocks.columns;
    blocks.blockRows = blocks.areTiles ? LongTag(file, TIFFTAG_TILELENGTH)
                                       : std::min(LongTag(file, TIFFTAG_ROWSPERSTRIP), blocks.rows);
    return blocks;
}

bool TiffBlocks::AreOf(GDALRasterBand& band) const {
    int width = 0, height = 0;
    band.GetBlockSize(&width, &height);
    const auto is = [](int number, std::uint32_t wanted) {
        return number > 0 && static_cast<std::uint32_t>(number) == wanted;
    };
    return is(band.GetXSize(), columns) && is(band.GetYSize(), rows) && is(width, blockColumns) &&
           is(height, blockRows);
}

} // namespace rasterhost
