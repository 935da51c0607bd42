#include "capi/InputImage.h"

#include "imagery/NoDataValue.h"

#include <algorithm>
#include <cstring>

namespace capi {

using hostkit::PixelRect;
using hostkit::SampleBlock;

namespace {

template <class T>
void ClearNoData(const InputImage& image, const SampleBlock& block, unsigned char* valid) {
    const std::vector<std::optional<T>> values(image.info.bandsPerPixel, static_cast<T>(*image.gaps.noData));
    const PixelRect& rect = block.rect;
    const std::size_t columns = rect.GetColumns();
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row, valid += columns)
        imagery::ClearValues<T>(
            reinterpret_cast<const T*>(block.At(rect.col0, row, hostkit::PixelBytes(image.info))), values,
            columns, valid);
}

/// Writes the mask of a block: one byte per pixel, rows packed.
void FillValid(const InputImage& image, const SampleBlock& block, unsigned char* valid) {
    const Gaps& gaps = image.gaps;
    const PixelRect& rect = block.rect;
    const std::size_t columns = rect.GetColumns();
    std::fill_n(valid, columns * rect.GetRows(), static_cast<unsigned char>(0xFF));
    if (gaps.noData && image.info.bitsPerBand == 8)
        ClearNoData<unsigned char>(image, block, valid);
    else if (gaps.noData)
        ClearNoData<unsigned short>(image, block, valid);
    for (std::uint32_t row = rect.row0; gaps.valid && row < rect.row1; ++row) {
        unsigned char* of = valid + std::size_t{row - rect.row0} * columns;
        for (std::uint32_t column = rect.col0; column < rect.col1; ++column)
            if (gaps.valid[gaps.layout.At(column, row, 0)] == 0) of[column - rect.col0] = 0;
    }
    if (gaps.collar) gaps.collar->Clear(rect, valid);
}

} // namespace

SampleBlock ReadBlock(const InputImage& image, const PixelRect& rect, BlockBuffers& buffers) {
    const SampleBlock all = MakeBlock(image.samples, image.layout, rect, buffers.samples);
    if (!image.gaps.MayLackData()) return all;
    SampleBlock block{all.At(rect.col0, rect.row0, hostkit::PixelBytes(image.info)), all.rowStride, rect};
    buffers.valid.resize(std::size_t{rect.GetColumns()} * rect.GetRows());
    FillValid(image, block, buffers.valid.data());
    const auto lacks = std::find(buffers.valid.begin(), buffers.valid.end(), static_cast<unsigned char>(0));
    if (lacks != buffers.valid.end()) block.valid = buffers.valid.data();
    return block;
}

bool ArraySource::Read(const PixelRect& rect, unsigned char* out, Status&) {
    const SampleBlock block = MakeBlock(image.samples, image.layout, rect, buffers.samples);
    const std::size_t pixelBytes = hostkit::PixelBytes(image.info), rowBytes = rect.GetColumns() * pixelBytes;
    for (std::uint32_t row = rect.row0; row < rect.row1; ++row, out += rowBytes)
        std::memcpy(out, block.At(rect.col0, row, pixelBytes), rowBytes);
    return true;
}

bool ArraySource::ReadValid(const PixelRect& rect, const unsigned char* samples, unsigned char* valid,
                            Status&) {
    FillValid(image, {samples, rect.GetColumns() * hostkit::PixelBytes(image.info), rect}, valid);
    return true;
}

} // namespace capi
