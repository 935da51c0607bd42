#pragma once

#include "pansharp.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

/// Images in memory of every shape that a caller may have, and what fusing them must give.
namespace testcapi {

enum class Shape { Packed, Planar, Lines, Mirrored, Gaps };

/// Samples of `bits` bits in one of the shapes. Bytes between samples hold a mark.
class StridedImage {
public:
    static constexpr unsigned char mark = 0xA5;

    StridedImage(Shape shape, std::uint32_t bits, std::uint32_t imageColumns, std::uint32_t imageRows,
                 std::uint32_t imageBands)
        : columns(imageColumns), rows(imageRows), bands(imageBands), sampleBytes(bits / 8) {
        const auto c = static_cast<std::ptrdiff_t>(columns), r = static_cast<std::ptrdiff_t>(rows);
        const auto b = static_cast<std::ptrdiff_t>(bands), s = static_cast<std::ptrdiff_t>(sampleBytes);
        switch (shape) {
        case Shape::Packed:
            SetStrides(c * b * s, b * s, s, 0);
            break;
        case Shape::Planar:
            SetStrides(c * s, s, c * r * s, 0);
            break;
        case Shape::Lines:
            SetStrides(c * b * s, s, c * s, 0);
            break;
        // From the right to the left and from the bottom to the top.
        case Shape::Mirrored:
            SetStrides(-c * b * s, -b * s, s, (r * c - 1) * b * s);
            break;
        // Nothing is aligned, and bytes lie between bands, pixels and rows.
        case Shape::Gaps:
            SetStrides(c * (b * (s + 1) + 3) + 5, b * (s + 1) + 3, s + 1, 1);
            break;
        }
        bytes.assign(
            static_cast<std::size_t>(r * (std::abs(rowStride) + 5) + b * std::abs(bandStride) + c + 9), mark);
    }

    void Fill(std::uint32_t seed) {
        std::mt19937 random(seed);
        for (std::uint32_t r = 0; r < rows; ++r)
            for (std::uint32_t c = 0; c < columns; ++c)
                for (std::uint32_t b = 0; b < bands; ++b)
                    Set(c, r, b, random());
    }

    void Set(std::uint32_t column, std::uint32_t row, std::uint32_t band, unsigned long value) {
        const auto sample = static_cast<unsigned short>(value & (sampleBytes == 1 ? 0xFFu : 0xFFFFu));
        const auto small = static_cast<unsigned char>(sample & 0xFFu);
        std::memcpy(At(column, row, band), sampleBytes == 1 ? static_cast<const void*>(&small) : &sample,
                    sampleBytes);
    }

    [[nodiscard]] unsigned Get(std::uint32_t column, std::uint32_t row, std::uint32_t band) const {
        unsigned short sample = 0;
        const unsigned char* at = const_cast<StridedImage*>(this)->At(column, row, band);
        if (sampleBytes == 1) return *at;
        std::memcpy(&sample, at, sizeof sample);
        return sample;
    }

    /// All samples in order.
    [[nodiscard]] std::vector<unsigned> Samples() const {
        std::vector<unsigned> all;
        for (std::uint32_t r = 0; r < rows; ++r)
            for (std::uint32_t c = 0; c < columns; ++c)
                for (std::uint32_t b = 0; b < bands; ++b)
                    all.push_back(Get(c, r, b));
        return all;
    }

    /// Bytes that hold the mark once the samples are taken away.
    [[nodiscard]] bool GapsAreUntouched() const {
        StridedImage copy = *this;
        std::memset(copy.bytes.data(), 0, copy.bytes.size());
        for (std::uint32_t r = 0; r < rows; ++r)
            for (std::uint32_t c = 0; c < columns; ++c)
                for (std::uint32_t b = 0; b < bands; ++b)
                    copy.Set(c, r, b, 0xFFFF);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            if (copy.bytes[i] == 0 && bytes[i] != mark) return false;
        return true;
    }

    [[nodiscard]] pansharp_image Image() {
        pansharp_image image{};
        image.samples = At(0, 0, 0);
        image.columns = columns;
        image.rows = rows;
        image.bands = bands;
        image.row_stride = rowStride;
        image.pixel_stride = pixelStride;
        image.band_stride = bandStride;
        return image;
    }
    [[nodiscard]] pansharp_output Output() { return {At(0, 0, 0), rowStride, pixelStride, bandStride}; }

    std::uint32_t columns, rows, bands, sampleBytes;

private:
    void SetStrides(std::ptrdiff_t row, std::ptrdiff_t pixel, std::ptrdiff_t band, std::ptrdiff_t start) {
        rowStride = row;
        pixelStride = pixel;
        bandStride = band;
        first = start;
    }
    unsigned char* At(std::uint32_t column, std::uint32_t row, std::uint32_t band) {
        return bytes.data() + first + static_cast<std::ptrdiff_t>(row) * rowStride +
               static_cast<std::ptrdiff_t>(column) * pixelStride +
               static_cast<std::ptrdiff_t>(band) * bandStride;
    }

    std::ptrdiff_t rowStride = 0, pixelStride = 0, bandStride = 0, first = 0;
    std::vector<unsigned char> bytes;
};

/// Position of a pan pixel on an axis of `own` pixels for `pan` pixels of pan, moved by `twentieths` / 20 of
/// a pixel: a whole number and a fraction. Exact, for ratios with denominators up to 64 and offsets in 48ths
/// of a pan pixel.
struct Position {
    long long index;
    double fraction;
};
inline Position Place(std::uint32_t pixel, std::uint32_t own, std::uint32_t pan, int twentieths) {
    const long long divisor = 40LL * pan;
    const long long u = (2LL * pixel + 1) * own * 20 + 2LL * pan * twentieths - 20LL * pan;
    const long long index = (u >= 0 ? u : u - divisor + 1) / divisor;
    return {index, static_cast<double>(u - index * divisor) / static_cast<double>(divisor)};
}

/// How an image lies under pan: own pixels for pan pixels, and pan's corner on it.
struct Placement {
    std::uint32_t ownX, panX, ownY, panY;
    int twentiethsX = 0, twentiethsY = 0;
};

/// The image at a pixel of pan, between the centres of its pixels.
inline unsigned Interpolate(const StridedImage& image, const Placement& place, std::uint32_t column,
                            std::uint32_t row, std::uint32_t band) {
    const auto clamp = [](long long i, std::uint32_t count) {
        return static_cast<std::uint32_t>(i < 0 ? 0 : i >= count ? count - 1LL : i);
    };
    const Position x = Place(column, place.ownX, place.panX, place.twentiethsX);
    const Position y = Place(row, place.ownY, place.panY, place.twentiethsY);
    const auto across = [&](long long r) {
        const double a = image.Get(clamp(x.index, image.columns), clamp(r, image.rows), band);
        const double b = image.Get(clamp(x.index + 1, image.columns), clamp(r, image.rows), band);
        return a * (1 - x.fraction) + b * x.fraction;
    };
    return static_cast<unsigned>(across(y.index) * (1 - y.fraction) + across(y.index + 1) * y.fraction + 0.5);
}

} // namespace testcapi
