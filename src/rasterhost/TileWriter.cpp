#include "rasterhost/TileWriter.h"

#include <tiffio.h>

namespace rasterhost {

std::unique_ptr<TileWriter> TileWriter::Open(const std::string& name) {
    std::unique_ptr<TileWriter> writer(new TileWriter);
    writer->file = TIFFOpen(name.c_str(), "r+");
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
    const std::uint16_t bits = shortField(TIFFTAG_BITSPERSAMPLE);
    if (!TIFFIsTiled(writer->file) || TIFFIsByteSwapped(writer->file) || (bits != 8 && bits != 16) ||
        shortField(TIFFTAG_COMPRESSION) != COMPRESSION_NONE ||
        shortField(TIFFTAG_PLANARCONFIG) != PLANARCONFIG_CONTIG)
        return nullptr;
    writer->columns = field(TIFFTAG_IMAGEWIDTH);
    writer->tileColumns = field(TIFFTAG_TILEWIDTH);
    writer->tileRows = field(TIFFTAG_TILELENGTH);
    writer->tileBytes = std::size_t{shortField(TIFFTAG_SAMPLESPERPIXEL)} * (bits / 8u) * writer->tileColumns *
                        writer->tileRows;
    const tmsize_t expected = TIFFTileSize(writer->file);
    return expected > 0 && static_cast<std::size_t>(expected) == writer->tileBytes ? std::move(writer)
                                                                                   : nullptr;
}

TileWriter::~TileWriter() {
    if (file) TIFFClose(file);
}

bool TileWriter::Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles) {
    for (std::uint32_t row = 0; row < rowCount; row += tileRows)
        for (std::uint32_t column = 0; column < columns; column += tileColumns, tiles += tileBytes) {
            const std::uint32_t number = TIFFComputeTile(file, column, firstRow + row, 0, 0);
            if (TIFFWriteRawTile(file, number, tiles, static_cast<tmsize_t>(tileBytes)) < 0) return false;
        }
    return true;
}

bool TileWriter::Close() {
    const bool isWritten = TIFFFlush(file) == 1;
    TIFFClose(file);
    file = nullptr;
    return isWritten;
}

} // namespace rasterhost
