#include "rasterhost/writing/TilePacker.h"

#include "rasterhost/requests/GdalErrors.h"

#include <cpl_string.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>
#include <tiffio.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>

namespace rasterhost {

namespace {

const TileCodec codecs[] = {{"NONE", COMPRESSION_NONE, nullptr, 0, false},
                            {"DEFLATE", COMPRESSION_ADOBE_DEFLATE, "ZLEVEL", TIFFTAG_ZIPQUALITY, true},
                            {"ZSTD", COMPRESSION_ZSTD, "ZSTD_LEVEL", TIFFTAG_ZSTD_LEVEL, true},
                            {"LZMA", COMPRESSION_LZMA, "LZMA_PRESET", TIFFTAG_LZMAPRESET, true},
                            {"LZW", COMPRESSION_LZW, nullptr, 0, true},
                            {"PACKBITS", COMPRESSION_PACKBITS, nullptr, 0, false}};

template <class Matches>
const TileCodec* FindCodecThat(Matches matches) {
    const auto* codec = std::find_if(std::begin(codecs), std::end(codecs), matches);
    return codec != std::end(codecs) && TIFFIsCODECConfigured(codec->compression) ? codec : nullptr;
}

} // namespace

void TileCodec::SetLevel(const CPLStringList& options, TileForm& form) const {
    const char* level = levelOption ? options.FetchNameValue(levelOption) : nullptr;
    if (!level) return;
    form.levelTag = levelTag;
    form.level = std::atoi(level);
}

const TileCodec* FindTileCodec(const char* name) {
    return FindCodecThat([name](const TileCodec& codec) { return EQUAL(codec.name, name); });
}

const TileCodec* FindTileCodec(std::uint16_t compression) {
    return FindCodecThat([compression](const TileCodec& codec) { return codec.compression == compression; });
}

TilePacker::TilePacker(const TileForm& tileForm) : form(tileForm) {
    if (Compresses()) encoders.emplace(); // loads the scheduler's allocator, which a short run can do without
}

bool TilePacker::Compresses() const { return form.compression != COMPRESSION_NONE; }

std::size_t TilePacker::CountTiles(std::uint32_t columns, std::uint32_t rows) const {
    return std::size_t{(columns - 1) / form.columns + 1} * ((rows - 1) / form.rows + 1);
}

bool TilePacker::Pack(std::size_t count, const unsigned char* tiles, PackedTiles& packed) const {
    if (!Compresses()) return true;
    packed.bytes.clear();
    packed.bytes.reserve(count * form.GetBytes() * 3 / 2); // of noise; what is not used is never touched
    packed.places.resize(count);
    std::mutex adding;
    std::atomic<bool> isPacked = true;
    oneapi::tbb::this_task_arena::isolate([&] {
        oneapi::tbb::parallel_for(std::size_t{0}, count, [&](std::size_t tile) {
            const GdalErrors silence; // on the current thread
            std::unique_ptr<TileEncoder>& encoder = encoders->local();
            if (!encoder) encoder = std::make_unique<TileEncoder>(form);
            const auto* encoded = encoder->Encode(tiles + tile * form.GetBytes());
            if (!encoded) {
                isPacked = false;
                return;
            }
            const std::scoped_lock lock(adding);
            packed.places[tile] = {packed.bytes.size(), encoded->size()};
            packed.bytes.insert(packed.bytes.end(), encoded->begin(), encoded->end());
        });
    });
    return isPacked;
}

} // namespace rasterhost
