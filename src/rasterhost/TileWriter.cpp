#include "rasterhost/TileWriter.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>

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
    writer->pixelBytes = std::size_t{shortField(TIFFTAG_SAMPLESPERPIXEL)} * (bits / 8u);
    writer->tile.resize(writer->pixelBytes * writer->tileColumns * writer->tileRows);
    const tmsize_t expected = TIFFTileSize(writer->file);
    return expected > 0 && static_cast<std::size_t>(expected) == writer->tile.size() ? std::move(writer)
                                                                                     : nullptr;
}

TileWriter::~TileWriter() {
    if (file) TIFFClose(file);
}

bool TileWriter::Write(std::uint32_t firstRow, std::uint32_t rowCount, const unsigned char* samples) {
    const std::size_t rowBytes = columns * pixelBytes;
    const std::size_t tileRowBytes = tileColumns * pixelBytes;
    for (std::uint32_t row = 0; row < rowCount; row += tileRows)
        for (std::uint32_t column = 0; column < columns; column += tileColumns) {
            const std::uint32_t rows = std::min(tileRows, rowCount - row);
            const std::size_t bytes = std::min(tileColumns, columns - column) * pixelBytes;
            const unsigned char* from = samples + row * rowBytes + column * pixelBytes;
            if (rows < tileRows || bytes < tileRowBytes)
                std::fill(tile.begin(), tile.end(), static_cast<unsigned char>(0));
            for (std::uint32_t r = 0; r < rows; ++r)
                std::memcpy(&tile[r * tileRowBytes], from + r * rowBytes, bytes);
            const std::uint32_t number = TIFFComputeTile(file, column, firstRow + row, 0, 0);
            if (TIFFWriteRawTile(file, number, tile.data(), static_cast<tmsize_t>(tile.size())) < 0)
                return false;
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
