#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rasterhost {

/// Pixels of any size along an axis of finer pixels.
class AreaAxis {
public:
    /// `count` pixels, each `size` finer pixels wide, the first beginning at `start`. There are `fineEnd`
    /// finer pixels.
    AreaAxis(double start, double size, std::uint32_t count, std::uint32_t fineEnd);

    [[nodiscard]] std::uint32_t GetCount() const { return static_cast<std::uint32_t>(spans.size()); }
    [[nodiscard]] std::uint32_t FirstOf(std::uint32_t pixel) const { return spans[pixel].first; }
    [[nodiscard]] std::uint32_t EndOf(std::uint32_t pixel) const { return spans[pixel].end; }
    /// The part of a finer pixel, from FirstOf to EndOf - 1, that lies in a pixel.
    [[nodiscard]] double ShareOf(std::uint32_t pixel, std::uint32_t fine) const;

private:
    struct Span {
        double from, to;
        std::uint32_t first, end;
    };
    std::vector<Span> spans;
};

/// Means over pixels of any size of the finer pixels with data, weighted by area. It covers some rows; the
/// finer rows may be added in any order.
class AreaMeans {
public:
    /// For rows `first` to `end` - 1 of the axes. Both axes must outlive this.
    AreaMeans(const AreaAxis& acrossAxis, const AreaAxis& downAxis, std::size_t bandCount,
              std::uint32_t first, std::uint32_t end);

    /// Adds a row of finer pixels, starting at FirstOf(0) across, interleaved by pixel. `valid` has one byte
    /// per pixel, 0 without data; null means that all have data.
    template <class T>
    void AddRow(std::uint32_t fineRow, const T* samples, const unsigned char* valid);
    /// The means of a row, rounded half up, and one byte per pixel, 0 without data.
    template <class T>
    void GetRow(std::uint32_t row, T* out, unsigned char* valid) const;

private:
    const AreaAxis& across;
    const AreaAxis& down;
    std::size_t bands;
    std::uint32_t firstRow, endRow;
    std::vector<double> sums;  ///< per pixel: of the bands, then of the areas
    std::vector<double> added; ///< the sums of one finer row
};

} // namespace rasterhost
