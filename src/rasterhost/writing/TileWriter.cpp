#include "rasterhost/writing/TileWriter.h"

#include "rasterhost/requests/GdalErrors.h"

#include <cpl_string.h>
#include <oneapi/tbb/parallel_for.h>
#include <tiffio.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace rasterhost {

using imagery::OutputLayout;

namespace {

/// Compressions without loss, and the option that sets how hard they try.
const struct {
    const char* name;
    std::uint16_t compression;
    const char* levelOption;
    std::uint32_t levelTag;
} codecs[] = {{"NONE", COMPRESSION_NONE, nullptr, 0},
              {"DEFLATE", COMPRESSION_ADOBE_DEFLATE, "ZLEVEL", TIFFTAG_ZIPQUALITY},
              {"ZSTD", COMPRESSION_ZSTD, "ZSTD_LEVEL", TIFFTAG_ZSTD_LEVEL},
              {"LZMA", COMPRESSION_LZMA, "LZMA_PRESET", TIFFTAG_LZMAPRESET},
              {"LZW", COMPRESSION_LZW, nullptr, 0},
              {"PACKBITS", COMPRESSION_PACKBITS, nullptr, 0}};

bool HasPredictor(std::uint16_t compression) {
    return compression != COMPRESSION_NONE && compression != COMPRESSION_PACKBITS;
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
    const char* compression = options.FetchNameValueDef("COMPRESS", "NONE");
    return options.FetchBool("TILED", false) &&
           EQUAL(options.FetchNameValueDef("INTERLEAVE", "PIXEL"), "PIXEL") &&
           std::any_of(std::begin(codecs), std::end(codecs), [&](const auto& codec) {
               return EQUAL(codec.name, compression) && TIFFIsCODECConfigured(codec.compression);
           });
}

std::unique_ptr<TileWriter> TileWriter::Open(const std::string& name, const OutputLayout& layout,
                                             const CPLStringList& options) {
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
    TileForm& form = writer->form;
    form.bits = shortField(TIFFTAG_BITSPERSAMPLE);
    form.compression = shortField(TIFFTAG_COMPRESSION);
    const auto* codec = std::find_if(std::begin(codecs), std::end(codecs),
                                     [&](const auto& each) { return each.compression == form.compression; });
    if (!TIFFIsTiled(writer->file) || TIFFIsByteSwapped(writer->file) || codec == std::end(codecs) ||
        (form.bits != 8 && form.bits != 16) || shortField(TIFFTAG_PLANARCONFIG) != PLANARCONFIG_CONTIG)
        return nullptr;
    if (HasPredictor(form.compression)) form.predictor = shortField(TIFFTAG_PREDICTOR);
    // The file does not tell how hard its compression tries.
    if (const char* level = codec->levelOption ? options.FetchNameValue(codec->levelOption) : nullptr) {
        form.levelTag = codec->levelTag;
        form.level = std::atoi(level);
    }
    writer->columns = field(TIFFTAG_IMAGEWIDTH);
    form.columns = field(TIFFTAG_TILEWIDTH);
    form.rows = field(TIFFTAG_TILELENGTH);
    form.samples = shortField(TIFFTAG_SAMPLESPERPIXEL);
    const tmsize_t expected = TIFFTileSize(writer->file);
    const bool isAsPlanned = form.columns == layout.tileColumns && form.rows == layout.tileRows;
    return isAsPlanned && expected > 0 && static_cast<std::size_t>(expected) == form.GetBytes()
               ? std::move(writer)
               : nullptr;
}

TileWriter::~TileWriter() {
    if (file) TIFFClose(file);
}

bool TileWriter::Pack(std::uint32_t rowCount, const unsigned char* tiles, PackedTiles& packed) const {
    if (form.compression == COMPRESSION_NONE) return true;
    packed.resize(std::size_t{(columns - 1) / form.columns + 1} * ((rowCount - 1) / form.rows + 1));
    std::atomic<bool> isPacked = true;
    oneapi::tbb::parallel_for(std::size_t{0}, packed.size(), [&](std::size_t tile) {
        const GdalErrors silence; // of whichever thread this is
        std::unique_ptr<TileEncoder>& encoder = encoders.local();
        if (!encoder) encoder = std::make_unique<TileEncoder>(form);
        if (!encoder->Encode(tiles + tile * form.GetBytes(), packed[tile])) isPacked = false;
    });
    return isPacked;
}

bool TileWriter::Write(std::uint32_t firstRow, std::uint32_t rowCount, unsigned char* tiles,
                       PackedTiles& packed) {
    const bool isPacked = form.compression != COMPRESSION_NONE;
    std::size_t tile = 0;
    for (std::uint32_t row = 0; row < rowCount; row += form.rows)
        for (std::uint32_t column = 0; column < columns; column += form.columns, ++tile) {
            unsigned char* bytes = isPacked ? packed[tile].data() : tiles + tile * form.GetBytes();
            const std::size_t size = isPacked ? packed[tile].size() : form.GetBytes();
            const std::uint32_t number = TIFFComputeTile(file, column, firstRow + row, 0, 0);
            if (TIFFWriteRawTile(file, number, bytes, static_cast<tmsize_t>(size)) < 0) return false;
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
