#include "rasterhost/writing/TileEncoder.h"

#include <tiffio.h>

#include <new>

namespace rasterhost {

namespace {

constexpr std::uint32_t tilesOfAFile = 1024;

} // namespace

/// What libtiff sees as a file: tiles stacked in a column. The bytes of a tile are kept; everything else,
/// such as the header and the final directory, is discarded.
struct TileEncoder::Sink {
    std::vector<unsigned char> tile;
    bool isTile = false;
    toff_t position = 0;
    toff_t size = 0;

    static Sink& Of(thandle_t handle) { return *static_cast<Sink*>(handle); }
    static tmsize_t Read(thandle_t, void*, tmsize_t) { return 0; }
    static tmsize_t Write(thandle_t handle, void* data, tmsize_t count) {
        Sink& sink = Of(handle);
        const auto* bytes = static_cast<const unsigned char*>(data);
        try {
            if (sink.isTile) sink.tile.insert(sink.tile.end(), bytes, bytes + count);
        } catch (const std::bad_alloc&) {
            return 0; // no exception may pass through libtiff
        }
        sink.position += static_cast<toff_t>(count);
        if (sink.position > sink.size) sink.size = sink.position;
        return count;
    }
    static toff_t Seek(thandle_t handle, toff_t offset, int from) {
        Sink& sink = Of(handle);
        const toff_t base = from == SEEK_SET ? 0 : from == SEEK_CUR ? sink.position : sink.size;
        return sink.position = base + offset;
    }
    static int Done(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Of(handle).size; }
};

TileEncoder::TileEncoder(const TileForm& tileForm) : form(tileForm), sink(new Sink) {}

TileEncoder::~TileEncoder() { Close(); }

void TileEncoder::Close() {
    if (file) TIFFClose(file);
    file = nullptr;
}

void TileEncoder::Open() {
    *sink = {};
    next = 0;
    file = TIFFClientOpen("tiles", "w", sink.get(), Sink::Read, Sink::Write, Sink::Seek, Sink::Done,
                          Sink::Size, nullptr, nullptr);
    if (!file) return;
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, form.columns);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, form.rows * tilesOfAFile);
    TIFFSetField(file, TIFFTAG_TILEWIDTH, form.columns);
    TIFFSetField(file, TIFFTAG_TILELENGTH, form.rows);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, int{form.bits});
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, int{form.samples});
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(file, TIFFTAG_COMPRESSION, int{form.compression});
    if (form.predictor > 0) TIFFSetField(file, TIFFTAG_PREDICTOR, int{form.predictor});
    if (form.levelTag > 0) TIFFSetField(file, form.levelTag, form.level);
}

const std::vector<unsigned char>* TileEncoder::Encode(const unsigned char* tile) {
    if (next == tilesOfAFile) Close();
    if (!file) Open();
    if (!file) return nullptr;
    sink->tile.clear();
    sink->isTile = true;
    const auto bytes = static_cast<tmsize_t>(form.GetBytes());
    const bool isEncoded =
        TIFFWriteEncodedTile(file, next++, const_cast<unsigned char*>(tile), bytes) == bytes;
    sink->isTile = false;
    return isEncoded ? &sink->tile : nullptr;
}

} // namespace rasterhost
