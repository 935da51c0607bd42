#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rasterhost {

/// Pixels of any size along an axis of finer ones.
class AreaAxis {
public:
    /// `count` pixels of `size` finer ones each, the first from `start` on; of the finer ones there are
    /// `fineEnd`.
    AreaAxis(double start, double size, std::uint32_t count, std::uint32_t fineEnd);

    [[nodiscard]] std::uint32_t GetCount() const { return static_cast<std::uint32_t>(spans.size()); }
    [[nodiscard]] std::uint32_t FirstOf(std::uint32_t pixel) const { return spans[pixel].first; }
    [[nodiscard]] std::uint32_t EndOf(std::uint32_t pixel) const { return spans[pixel].end; }
    /// How much of a finer pixel, FirstOf to EndOf - 1, lies in a pixel.
    [[nodiscard]] double ShareOf(std::uint32_t pixel, std::uint32_t fine) const;

private:
    struct Span {
        double from, to;
        std::uint32_t first, end;
    };
    std::vector<Span> spans;
};

/// Means over pixels of any size, by area, of those finer ones that have data: some rows of them, to which
/// the finer rows are added in any order.
class AreaMeans {
public:
    /// Rows `first` to `end` - 1 of what the axes say. Both outlive this.
    AreaMeans(const AreaAxis& acrossAxis, const AreaAxis& downAxis, std::size_t bandCount,
              std::uint32_t first, std::uint32_t end);

    /// Adds a row of finer pixels from FirstOf(0) across on, interleaved by pixel; `valid` has one byte per
    /// pixel, 0 without data, and is null where all have.
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
    std::vector<double> sums;  ///< of the bands and of the shares, pixel by pixel
    std::vector<double> added; ///< of one finer row
};

} // namespace rasterhost
