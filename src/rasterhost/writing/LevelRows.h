#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace rasterhost {

/// Samples of an image and of its overviews, interleaved by pixel.
struct SampleForm {
    std::uint32_t bands = 0;             ///< of the file
    std::uint32_t bits = 0;              ///< of a sample, 8 or 16
    std::optional<std::uint32_t> noData; ///< the value of pixels without data; else a byte of each tells

    [[nodiscard]] std::size_t GetPixelBytes() const { return std::size_t{bands} * (bits / 8); }
};

/// The rows of an image that are still needed while they pass from the top to the bottom.
class LevelRows {
public:
    /// `mostHeld`, in rows, is what room is made for; it grows when more are held.
    LevelRows(const SampleForm& sampleForm, std::uint32_t imageColumns, std::uint32_t imageRows,
              std::uint32_t mostHeld)
        : form(sampleForm), columns(imageColumns), rows(imageRows), expected(mostHeld) {}

    [[nodiscard]] const SampleForm& GetForm() const { return form; }
    [[nodiscard]] std::uint32_t GetColumns() const { return columns; }
    [[nodiscard]] std::uint32_t GetRows() const { return rows; } ///< of the whole image
    [[nodiscard]] std::uint32_t GetFirst() const { return first; }
    [[nodiscard]] std::uint32_t GetEnd() const { return end; } ///< after the last row that has come
    [[nodiscard]] std::size_t GetRowBytes() const { return columns * form.GetPixelBytes(); }

    /// Of a row that is held. `valid` has a byte per pixel, 0 without data where no value tells.
    [[nodiscard]] unsigned char* GetSamples(std::uint32_t row) {
        return samples.get() + At(row) * GetRowBytes();
    }
    [[nodiscard]] unsigned char* GetValid(std::uint32_t row) { return valid.get() + At(row) * columns; }
    /// Adds rows without samples, all of whose pixels have data.
    void Append(std::uint32_t count);
    /// Lets go of the rows above.
    void DropBefore(std::uint32_t row);

private:
    [[nodiscard]] std::size_t At(std::uint32_t row) const { return row - first; }

    SampleForm form;
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint32_t expected = 0; ///< rows that are held at a time
    std::uint32_t first = 0;
    std::uint32_t end = 0;
    std::uint32_t capacity = 0; ///< in rows
    std::unique_ptr<unsigned char[]> samples;
    std::unique_ptr<unsigned char[]> valid;
};

/// How many rows of an overview can be made of the rows that have come of the finer image.
[[nodiscard]] std::uint32_t CountReducible(const LevelRows& fine, const LevelRows& coarse);
/// The first row of the finer image that row `row` of the overview is made of.
[[nodiscard]] std::uint32_t FirstNeeded(const LevelRows& fine, const LevelRows& coarse, std::uint32_t row);
/// Which pixels of an overview have data, as in the overviews that GDAL makes: those where the kernel finds a
/// pixel with data, or where most of the kernel's weight lies on such pixels.
enum class Marking { Any, Most };

/// Adds rows to an overview, up to row `end`, by the cubic kernel over the pixels with data, as GDAL makes
/// overviews, with the threads of the arena it is called in. False when GDAL fails.
/// `isMarked` tells whether a pixel may have none.
[[nodiscard]] bool Reduce(LevelRows& fine, LevelRows& coarse, std::uint32_t end, Marking marking,
                          bool& isMarked);
/// What Reduce takes for a while, with `threads` threads, to reduce rows of so wide an image.
[[nodiscard]] std::uint64_t CountReducing(std::uint32_t columns, int threads);

} // namespace rasterhost
