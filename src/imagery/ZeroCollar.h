#pragma once

#include "hostkit/SampleBlock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace imagery {

/// The pixels of an image that are 0 in all bands and are connected to such pixels on the image's edge: an
/// undeclared collar of no data. Pixels are connected by their sides. Zeros inside, such as deep shadow, are
/// data.
class ZeroCollar {
public:
    /// Finds the collar in rows given from the top: `columns` pixels of `pixelBytes` bytes each.
    class Finder {
    public:
        Finder(std::uint32_t imageColumns, std::size_t bytesOfAPixel)
            : columns(imageColumns), pixelBytes(bytesOfAPixel) {}
        void AddRow(const unsigned char* samples);
        /// True when the zeros are too ragged to be a collar; to go on would use too much memory.
        [[nodiscard]] bool IsTooRagged() const { return runs.size() > mostRuns; }
        [[nodiscard]] ZeroCollar Finish();

    private:
        static constexpr std::size_t mostRuns = std::size_t{8} << 20;

        [[nodiscard]] std::pair<std::uint32_t, std::uint32_t> NextRun(const unsigned char* samples,
                                                                      std::uint32_t column) const;
        std::uint32_t Root(std::uint32_t run);
        void Join(std::uint32_t a, std::uint32_t b);

        struct LabelledRun {
            std::uint32_t first, end, parent;
            bool isAtEdge;
        };
        std::uint32_t columns;
        std::size_t pixelBytes;
        std::vector<LabelledRun> runs;
        std::vector<std::size_t> rowStarts; ///< the first run of every row
    };

    /// Clears the mask bytes of the collar's pixels in a rectangle; others stay unchanged. Rows are packed.
    void Clear(const hostkit::PixelRect& rect, unsigned char* valid) const;
    [[nodiscard]] std::uint64_t GetPixels() const { return pixels; }
    [[nodiscard]] std::uint32_t GetColumns() const { return columns; } ///< of the image
    [[nodiscard]] std::uint32_t GetRows() const { return static_cast<std::uint32_t>(rowStarts.size() - 1); }

    /// The runs of each row in a compact form: their count, and for each the differences of its ends from the
    /// run above it.
    [[nodiscard]] std::vector<unsigned char> ToBytes() const;
    /// Decodes such bytes from any source. Empty when they do not describe a collar of an image of
    /// that size.
    [[nodiscard]] static std::optional<ZeroCollar> FromBytes(std::span<const unsigned char> bytes,
                                                             std::uint32_t columns, std::uint32_t rows);

private:
    struct Run {
        std::uint32_t first, end;
    };
    explicit ZeroCollar(std::uint32_t imageColumns) : columns(imageColumns) {}

    std::uint32_t columns;
    std::vector<Run> runs;
    std::vector<std::size_t> rowStarts; ///< one entry more than there are rows
    std::uint64_t pixels = 0;
};

} // namespace imagery
