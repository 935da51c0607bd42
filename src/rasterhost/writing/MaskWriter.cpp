#include "rasterhost/writing/MaskWriter.h"

#include <tiffio.h>

#include <cstring>
#include <vector>

namespace rasterhost {

std::unique_ptr<MaskWriter> MaskWriter::Open(const std::string& file) {
    std::unique_ptr<MaskWriter> writer(new MaskWriter);
    writer->file = TIFFOpen(file.c_str(), "r+");
    if (!writer->file) return nullptr;
    const auto field = [&](std::uint32_t tag) {
        std::uint32_t value = 0;
        TIFFGetField(writer->file, tag, &value);
        return value;
    };
    const auto shortField = [&](std::uint32_t tag) {
        std::uint16_t value = 0;
        TIFFGetFieldDefaulted(writer->file, tag, &value);
        return value;
    };
    while ((field(TIFFTAG_SUBFILETYPE) & FILETYPE_MASK) == 0)
        if (!TIFFReadDirectory(writer->file)) return nullptr;
    TileForm& form = writer->form;
    form.bits = shortField(TIFFTAG_BITSPERSAMPLE);
    form.samples = shortField(TIFFTAG_SAMPLESPERPIXEL);
    form.compression = shortField(TIFFTAG_COMPRESSION);
    form.columns = field(TIFFTAG_TILEWIDTH);
    form.rows = field(TIFFTAG_TILELENGTH);
    writer->columns = field(TIFFTAG_IMAGEWIDTH);
    writer->rows = field(TIFFTAG_IMAGELENGTH);
    const bool isKnown = TIFFIsTiled(writer->file) && !TIFFIsByteSwapped(writer->file) && form.bits == 1 &&
                         form.samples == 1 && form.compression == COMPRESSION_ADOBE_DEFLATE &&
                         shortField(TIFFTAG_PREDICTOR) == PREDICTOR_NONE &&
                         TIFFTileSize(writer->file) == static_cast<tmsize_t>(form.GetBytes());
    return isKnown ? std::move(writer) : nullptr;
}

MaskWriter::~MaskWriter() {
    if (file) TIFFClose(file);
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
        if (TIFFWriteRawTile(file, static_cast<std::uint32_t>(number),
                             const_cast<unsigned char*>(packed->data()),
                             static_cast<tmsize_t>(packed->size())) < 0)
            return false;
    }
    const bool isWritten = TIFFFlush(file) == 1;
    TIFFClose(file);
    file = nullptr;
    return isWritten;
}

} // namespace rasterhost
