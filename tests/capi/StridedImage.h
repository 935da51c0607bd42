#pragma once

#include "kernels/BilinearRow.h"
#include "pansharp.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

/// Images in memory in every layout that a caller may use, and the expected results of fusing them.
namespace testcapi {

enum class Shape { Packed, Planar, Lines, Mirrored, Gaps };

/// Samples of `bits` bits in one of the layouts. Bytes between samples hold a mark.
class StridedImage {
public:
    static constexpr unsigned char mark = 0xA5;

    StridedImage(Shape shape, std::uint32_t bits, std::uint32_t imageColumns, std::uint32_t imageRows,
                 std::uint32_t imageBands)
        : columns(imageColumns), rows(imageRows), bands(imageBands), sampleBytes(bits / 8) {
        const auto c = static_cast<std::ptrdiff_t>(columns), r = static_cast<std::ptrdiff_t>(rows);
        const auto b = static_cast<std::ptrdiff_t>(bands), s = static_cast<std::ptrdiff_t>(sampleBytes);
        // With gaps, nothing is aligned, and there are bytes between bands, pixels and rows.
        const std::ptrdiff_t gapped = b * (s + 1) + 3;
        const Layout layouts[] = {
            {c * b * s, b * s, s, 0},
            {c * s, s, c * r * s, 0},
            {c * b * s, s, c * s, 0},
            {-c * b * s, -b * s, s, (r * c - 1) * b * s}, // from right to left and from bottom to top
            {c * gapped + 5, gapped, s + 1, 1},
        };
        layout = layouts[static_cast<std::size_t>(shape)];
        const auto size = r * (std::abs(layout.row) + 5) + b * std::abs(layout.band) + c + 9;
        bytes.assign(static_cast<std::size_t>(size), mark);
    }

    void Fill(std::uint32_t seed) {
        std::mt19937 random(seed);
        ForEach([&](auto c, auto r, auto b) { Set(c, r, b, static_cast<unsigned>(random())); });
    }

    void Set(std::uint32_t column, std::uint32_t row, std::uint32_t band, unsigned value) {
        const auto small = static_cast<unsigned char>(value);
        const auto wide = static_cast<unsigned short>(value);
        std::memcpy(At(column, row, band), sampleBytes == 1 ? static_cast<const void*>(&small) : &wide,
                    sampleBytes);
    }

    [[nodiscard]] unsigned Get(std::uint32_t column, std::uint32_t row, std::uint32_t band) const {
        const unsigned char* at = const_cast<StridedImage*>(this)->At(column, row, band);
        if (sampleBytes == 1) return *at;
        unsigned short sample = 0;
        std::memcpy(&sample, at, sizeof sample);
        return sample;
    }

    /// All samples in order.
    [[nodiscard]] std::vector<unsigned> Samples() const {
        std::vector<unsigned> all;
        ForEach([&](auto c, auto r, auto b) { all.push_back(Get(c, r, b)); });
        return all;
    }

    /// Whether the bytes between the samples hold the mark.
    [[nodiscard]] bool GapsAreUntouched() const {
        StridedImage copy = *this;
        std::memset(copy.bytes.data(), 0, copy.bytes.size());
        ForEach([&](auto c, auto r, auto b) { copy.Set(c, r, b, 0xFFFF); });
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
        image.row_stride = layout.row;
        image.pixel_stride = layout.pixel;
        image.band_stride = layout.band;
        return image;
    }
    [[nodiscard]] pansharp_output Output() { return {At(0, 0, 0), layout.row, layout.pixel, layout.band}; }

    std::uint32_t columns, rows, bands, sampleBytes;

private:
    struct Layout {
        std::ptrdiff_t row = 0, pixel = 0, band = 0, first = 0;
    };
    template <class Visit>
    void ForEach(const Visit& visit) const {
        for (std::uint32_t r = 0; r < rows; ++r)
            for (std::uint32_t c = 0; c < columns; ++c)
                for (std::uint32_t b = 0; b < bands; ++b)
                    visit(c, r, b);
    }
    unsigned char* At(std::uint32_t column, std::uint32_t row, std::uint32_t band) {
        return bytes.data() + layout.first + std::ptrdiff_t{row} * layout.row +
               std::ptrdiff_t{column} * layout.pixel + std::ptrdiff_t{band} * layout.band;
    }

    Layout layout;
    std::vector<unsigned char> bytes;
};

/// How an image lies under pan.
struct Placement {
    kernels::GridAxis across, down;
};

/// The image at the centre of a pixel of pan, interpolated between the centres of its own pixels.
inline unsigned Interpolate(const StridedImage& image, const Placement& place, std::uint32_t column,
                            std::uint32_t row, std::uint32_t band) {
    const auto x = kernels::ClampTap(kernels::PanToMultispectral(place.across, column), image.columns);
    const auto y = kernels::ClampTap(kernels::PanToMultispectral(place.down, row), image.rows);
    const auto get = [&](auto c, auto r) { return static_cast<unsigned short>(image.Get(c, r, band)); };
    return kernels::BilinearSample(get(x.first, y.first), get(x.second, y.first), get(x.first, y.second),
                                   get(x.second, y.second), x.fraction, y.fraction);
}

} // namespace testcapi
