#include "rasterhost/writing/MaskWriter.h"

#include <tiffio.h>

#include <cstring>
#include <vector>

namespace rasterhost {

std::unique_ptr<MaskWriter> MaskWriter::Open(const std::string& name) {
    std::unique_ptr<MaskWriter> writer(new MaskWriter);
    writer->file.reset(TIFFOpen(name.c_str(), "r+"));
    TIFF* file = writer->file.get();
    if (!file) return nullptr;
    while ((LongTag(file, TIFFTAG_SUBFILETYPE) & FILETYPE_MASK) == 0)
        if (!TIFFReadDirectory(file)) return nullptr;
    TileForm& form = writer->form;
    form.bits = ShortTag(file, TIFFTAG_BITSPERSAMPLE);
    form.samples = ShortTag(file, TIFFTAG_SAMPLESPERPIXEL);
    form.compression = ShortTag(file, TIFFTAG_COMPRESSION);
    form.columns = LongTag(file, TIFFTAG_TILEWIDTH);
    form.rows = LongTag(file, TIFFTAG_TILELENGTH);
    writer->columns = LongTag(file, TIFFTAG_IMAGEWIDTH);
    writer->rows = LongTag(file, TIFFTAG_IMAGELENGTH);
    const bool isKnown = TIFFIsTiled(file) && !TIFFIsByteSwapped(file) && form.bits == 1 &&
                         form.samples == 1 && form.compression == COMPRESSION_ADOBE_DEFLATE &&
                         ShortTag(file, TIFFTAG_PREDICTOR) == PREDICTOR_NONE &&
                         TIFFTileSize(file) == static_cast<tmsize_t>(form.GetBytes());
    return isKnown ? std::move(writer) : nullptr;
}

bool MaskWriter::Write(const OutputMask& mask) {
    TileEncoder encoder(form);
    const std::size_t tileBytes = form.GetBytes(), across = (columns - 1) / form.columns + 1;
    std::vector<unsigned char> tiles(across * tileBytes), last; // the tile that was packed last
    const std::vector<unsigned char>* packed = nullptr;
    const std::size_t count = across * ((rows - 1) / form.rows + 1);
    for (std::size_t number = 0; number < count; ++number) {
        const std::size_t column = number % across;
        if (column == 0) mask.MakeTiles(number / across * form.rows, form, tiles.data());
        const unsigned char* tile = tiles.data() + column * tileBytes;
        if (!packed || std::memcmp(tile, last.data(), tileBytes) != 0) {
            packed = encoder.Encode(tile);
            if (!packed) return false;
            last.assign(tile, tile + tileBytes);
        }
        // libtiff takes data that are not constant, and leaves them as they are.
        if (TIFFWriteRawTile(file.get(), static_cast<std::uint32_t>(number),
                             const_cast<unsigned char*>(packed->data()),
                             static_cast<tmsize_t>(packed->size())) < 0)
            return false;
    }
    const bool isWritten = TIFFFlush(file.get()) == 1;
    file.reset();
    return isWritten;
}

} // namespace rasterhost
