#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct tiff;

namespace rasterhost {

/// The form of a GeoTIFF's tiles: bands interleaved by pixel, lossless compression.
struct TileForm {
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint16_t bits = 0; ///< per sample
    std::uint16_t samples = 0;
    std::uint16_t compression = 0; ///< COMPRESSION_* of tiff.h
    std::uint16_t predictor = 0;   ///< 0 if the compression has none
    std::uint32_t levelTag = 0;    ///< the tag for the compression level; 0 for the default level
    int level = 0;

    [[nodiscard]] std::size_t GetRowBytes() const { return std::size_t{samples} * bits * columns / 8; }
    [[nodiscard]] std::size_t GetBytes() const { return GetRowBytes() * rows; }
};

/// Compresses tiles one after another with libtiff's codecs. They keep their working memory in between; with
/// some, allocating it is most of the work. One thread at a time may use it.
class TileEncoder {
public:
    explicit TileEncoder(const TileForm& tileForm);
    TileEncoder(const TileEncoder&) = delete;
    TileEncoder& operator=(const TileEncoder&) = delete;
    ~TileEncoder();

    /// `tile` has the size of the form. The result is valid until the next call. Null when memory runs out
    /// or the codec fails; libtiff's error handler is called.
    [[nodiscard]] const std::vector<unsigned char>* Encode(const unsigned char* tile);

private:
    struct Sink;

    void Open();
    void Close();

    const TileForm form;
    std::unique_ptr<Sink> sink;
    tiff* file = nullptr;
    std::uint32_t next = 0; ///< the tile of `file` to write next
};

} // namespace rasterhost
