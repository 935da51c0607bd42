#pragma once

#include "hostkit/SampledChain.h"

#include <functional>
#include <vector>

/// An image in memory whose samples encode their position.
namespace testimages {

using hostkit::PixelRect;
using KOVA::Tessara::Pixmere::RasterInfo;

inline RasterInfo MakeInfo(std::uint32_t columns, std::uint32_t rows, std::uint32_t bands, std::uint32_t bits,
                           double pixelSize = 1.0, double xMin = 0.0, double yMax = 0.0) {
    RasterInfo info;
    info.cols = columns;
    info.rows = rows;
    info.bandsPerPixel = bands;
    info.bitsPerBand = bits;
    info.pixelSizeX = info.pixelSizeY = pixelSize;
    info.xMin = xMin;
    info.xMax = xMin + columns * pixelSize;
    info.yMax = yMax;
    info.yMin = yMax - rows * pixelSize;
    return info;
}

template <class T>
struct CodedImage {
    using Sample = std::function<unsigned(std::uint32_t, std::uint32_t, std::uint32_t)>;

    explicit CodedImage(const RasterInfo& description, const Sample& sample) : info(description) {
        for (std::uint32_t r = 0; r < info.rows; ++r)
            for (std::uint32_t c = 0; c < info.cols; ++c)
                for (std::uint32_t b = 0; b < info.bandsPerPixel; ++b)
                    samples.push_back(static_cast<T>(sample(c, r, b)));
    }
    /// Column + 10 * row, plus 1 for each band.
    explicit CodedImage(const RasterInfo& description)
        : CodedImage(description, [](auto c, auto r, auto b) { return c + 10 * r + b; }) {}

    [[nodiscard]] T At(std::uint32_t column, std::uint32_t row, std::uint32_t band) const {
        return samples[(std::size_t{row} * info.cols + column) * info.bandsPerPixel + band];
    }
    /// A part of it, copied to a block of exactly its size with rows packed.
    [[nodiscard]] hostkit::SourceImage Part(const PixelRect& rect, std::vector<T>& copy) const {
        copy.clear();
        for (std::uint32_t r = rect.row0; r < rect.row1; ++r)
            for (std::uint32_t c = rect.col0; c < rect.col1; ++c)
                for (std::uint32_t b = 0; b < info.bandsPerPixel; ++b)
                    copy.push_back(At(c, r, b));
        return {info,
                {reinterpret_cast<const unsigned char*>(copy.data()),
                 rect.GetColumns() * hostkit::PixelBytes(info), rect}};
    }
    [[nodiscard]] hostkit::SourceImage Whole() const {
        return {info,
                {reinterpret_cast<const unsigned char*>(samples.data()),
                 info.cols * hostkit::PixelBytes(info), hostkit::WholeImage(info)}};
    }

    RasterInfo info;
    std::vector<T> samples;
};

} // namespace testimages
