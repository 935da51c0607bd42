#pragma once

#include "hostkit/SampleBlock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace imagery {

/// The pixels of an image that are 0 in all bands and are connected with such pixels on the image's edge:
/// what a collar without data looks like when nobody declared it. Pixels are connected by their sides. Zeros
/// inside, of deep shadow and the like, are data.
class ZeroCollar {
public:
    /// Finds the collar while rows pass by from the top: `columns` pixels of `pixelBytes` bytes each.
    class Finder {
    public:
        Finder(std::uint32_t imageColumns, std::size_t bytesOfAPixel)
            : columns(imageColumns), pixelBytes(bytesOfAPixel) {}
        void AddRow(const unsigned char* samples);
        /// Zeros this ragged are not a collar, and would fill the memory.
        [[nodiscard]] bool IsTooRagged() const { return runs.size() > mostRuns; }
        [[nodiscard]] ZeroCollar Finish();

    private:
        static constexpr std::size_t mostRuns = std::size_t{8} << 20;

        std::uint32_t Root(std::uint32_t run);
        void Join(std::uint32_t a, std::uint32_t b);

        struct LabelledRun {
            std::uint32_t first, end, parent;
            bool isAtEdge;
        };
        std::uint32_t columns;
        std::size_t pixelBytes;
        std::vector<LabelledRun> runs;
        std::vector<std::size_t> rowStarts; ///< for every row its first run
    };

    /// Marks the collar's pixels of a rectangle: their bytes become 0, others stay. Rows packed.
    void Clear(const hostkit::PixelRect& rect, unsigned char* valid) const;
    [[nodiscard]] std::uint64_t GetPixels() const { return pixels; }
    [[nodiscard]] std::uint32_t GetColumns() const { return columns; } ///< of the image
    [[nodiscard]] std::uint32_t GetRows() const { return static_cast<std::uint32_t>(rowStarts.size() - 1); }

    /// The runs of each row as numbers of few bytes, most of which repeat: their count, and for each how its
    /// ends differ from those of the run above it.
    [[nodiscard]] std::vector<unsigned char> ToBytes() const;
    /// From such bytes, whoever they come from: none when they do not describe a collar of an image of that
    /// size.
    [[nodiscard]] static std::optional<ZeroCollar> FromBytes(std::span<const unsigned char> bytes,
                                                             std::uint32_t columns, std::uint32_t rows);

private:
    struct Run {
        std::uint32_t first, end;
    };
    explicit ZeroCollar(std::uint32_t imageColumns) : columns(imageColumns) {}

    std::uint32_t columns;
    std::vector<Run> runs;
    std::vector<std::size_t> rowStarts; ///< one more than there are rows
    std::uint64_t pixels = 0;
};

} // namespace imagery
