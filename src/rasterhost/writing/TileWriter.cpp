#include "rasterhost/writing/TileWriter.h"

#include <cpl_conv.h>
#include <cpl_string.h>
#include <fcntl.h>
#include <tiffio.h>

#include <algorithm>

namespace rasterhost {

using imagery::OutputLayout;

namespace {

/// Asks the file system for the blocks of the file at once: page by page it takes longer. The size of the
/// file stays. It may refuse; then each page gets its block when it is written.
void ReserveRoom([[maybe_unused]] int file, [[maybe_unused]] std::uint64_t bytes) {
#ifdef FALLOC_FL_KEEP_SIZE
    (void)fallocate(file, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes));
#endif
}

} // namespace

bool TileWriter::CanWrite(const CPLStringList& options) {
    const char* const known[] = {
        "TILED",       "BLOCKXSIZE", "BLOCKYSIZE",          "INTERLEAVE",     "BIGTIFF",    "PHOTOMETRIC",
        "ALPHA",       "COMPRESS",   "PREDICTOR",           "ZLEVEL",         "ZSTD_LEVEL", "LZMA_PRESET",
        "NUM_THREADS", "PROFILE",    "GEOTIFF_KEYS_FLAVOR", "GEOTIFF_VERSION"};
    for (int i = 0; i < options.size(); ++i)
        if (std::none_of(std::begin(known), std::end(known), [&](const std::string& name) {
                return STARTS_WITH_CI(options[i], (name + "=").c_str());
            }))
            return false;
    // Tiles are written in the machine's byte order.
    if (!EQUAL(CPLGetConfigOption("GDAL_TIFF_ENDIANNESS", "NATIVE"), "NATIVE")) return false;
    const char* compression = options.FetchNameValueDef("COMPRESS", "NONE");
    return options.FetchBool("TILED", false) &&
           EQUAL(options.FetchNameValueDef("INTERLEAVE", "PIXEL"), "PIXEL") && FindTileCodec(compression);
}

std::unique_ptr<TileWriter> TileWriter::Open(const std::string& name, const OutputLayout& layout,
                                             const CPLStringList& options) {
    std::unique_ptr<TileWriter> writer(new TileWriter);
    writer->file.reset(TIFFOpen(name.c_str(), "r+"));
    TIFF* file = writer->file.get();
    if (!file) return nullptr;
    TileForm form;
    form.bits = ShortTag(file, TIFFTAG_BITSPERSAMPLE);
    form.compression = ShortTag(file, TIFFTAG_COMPRESSION);
    const TileCodec* codec = FindTileCodec(form.compression);
    if (!TIFFIsTiled(file) || TIFFIsByteSwapped(file) || !codec || (form.bits != 8 && form.bits != 16) ||
        ShortTag(file, TIFFTAG_PLANARCONFIG) != PLANARCONFIG_CONTIG)
        return nullptr;
    if (codec->hasPredictor) form.predictor = ShortTag(file, TIFFTAG_PREDICTOR);
    codec->SetLevel(options, form);
    writer->columns = LongTag(file, TIFFTAG_IMAGEWIDTH);
    form.columns = LongTag(file, TIFFTAG_TILEWIDTH);
    form.rows = LongTag(file, TIFFTAG_TILELENGTH);
    form.samples = ShortTag(file, TIFFTAG_SAMPLESPERPIXEL);
    const tmsize_t expected = TIFFTileSize(file);
    writer->packer = std::make_unique<TilePacker>(form);
    const bool isAsPlanned = form.columns == layout.tileColumns && form.rows == layout.tileRows;
    if (!isAsPlanned || expected <= 0 || static_cast<std::size_t>(expected) != form.GetBytes())
        return nullptr;
    if (!writer->packer->Compresses())
        ReserveRoom(TIFFFileno(file), std::uint64_t{TIFFNumberOfTiles(file)} * form.GetBytes());
    return writer;
}

bool TileWriter::Pack(std::uint32_t rowCount, const unsigned char* tiles, PackedTiles& packed) const {
    return packer->Pack(packer->CountTiles(columns, rowCount), tiles, packed);
}

bool TileWriter::Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                       const OutputMask&, PackedTiles& packed) {
    const TileForm& form = packer->GetForm();
    const bool isPacked = packer->Compresses();
    std::size_t tile = 0;
    for (std::uint32_t row = 0; row < rowCount; row += form.rows)
        for (std::uint32_t column = 0; column < columns; column += form.columns, ++tile) {
            unsigned char* bytes =
                isPacked ? packed.bytes.data() + packed.places[tile].offset : tiles + tile * form.GetBytes();
            const std::size_t size = isPacked ? packed.places[tile].size : form.GetBytes();
            const std::uint32_t number = TIFFComputeTile(file.get(), column, firstRow + row, 0, 0);
            if (TIFFWriteRawTile(file.get(), number, bytes, static_cast<tmsize_t>(size)) < 0) return false;
        }
    return true;
}

bool TileWriter::Close() {
    const bool isWritten = TIFFFlush(file.get()) == 1;
    file.reset();
    return isWritten;
}

} // namespace rasterhost
