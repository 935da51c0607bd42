#pragma once

#include "fundament/LargeBytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace rasterhost {

/// The sample form of an image and its overviews; bands are interleaved by pixel.
struct SampleForm {
    std::uint32_t bands = 0;             ///< of the file
    std::uint32_t bits = 0;              ///< of a sample, 8 or 16
    std::optional<std::uint32_t> noData; ///< value of pixels without data; if unset, a mask byte per pixel

    [[nodiscard]] std::size_t GetPixelBytes() const { return std::size_t{bands} * (bits / 8); }
};

/// The rows of an image that are still needed, while they pass from top to bottom.
class LevelRows {
public:
    /// Allocates for `mostHeld` rows; grows when more are held.
    LevelRows(const SampleForm& sampleForm, std::uint32_t imageColumns, std::uint32_t imageRows,
              std::uint32_t mostHeld)
        : form(sampleForm), columns(imageColumns), rows(imageRows), expected(mostHeld) {}

    [[nodiscard]] const SampleForm& GetForm() const { return form; }
    [[nodiscard]] std::uint32_t GetColumns() const { return columns; }
    [[nodiscard]] std::uint32_t GetRows() const { return rows; } ///< of the whole image
    [[nodiscard]] std::uint32_t GetFirst() const { return first; }
    [[nodiscard]] std::uint32_t GetEnd() const { return end; } ///< after the last row added
    [[nodiscard]] std::size_t GetRowBytes() const { return columns * form.GetPixelBytes(); }

    /// A row that is held. Its mask has a byte per pixel, 0 without data, if there is no value for no data.
    [[nodiscard]] unsigned char* GetSamples(std::uint32_t row) {
        return samples.data() + At(row) * GetRowBytes();
    }
    [[nodiscard]] unsigned char* GetValid(std::uint32_t row) { return valid.data() + At(row) * columns; }
    /// Adds rows with undefined samples; all pixels count as having data.
    void Append(std::uint32_t count);
    /// Drops the rows above.
    void DropBefore(std::uint32_t row);

private:
    [[nodiscard]] std::size_t At(std::uint32_t row) const { return row - first; }

    SampleForm form;
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint32_t expected = 0; ///< number of rows expected to be held
    std::uint32_t first = 0;
    std::uint32_t end = 0;
    KOVA::Tessara::Fundament::LargeBytes samples, valid;
};

/// How many rows of an overview can be made from the rows so far of the finer image.
[[nodiscard]] std::uint32_t CountReducible(const LevelRows& fine, const LevelRows& coarse);
/// The first row of the finer image that a row of the overview is made from.
[[nodiscard]] std::uint32_t FirstNeeded(const LevelRows& fine, const LevelRows& coarse, std::uint32_t row);
/// Which pixels of an overview have data, as in GDAL's overviews: where any pixel under the kernel has data,
/// or where most of the kernel's weight lies on pixels with data.
enum class Marking { Any, Most };

/// Adds rows to an overview up to row `end`, by the cubic kernel over pixels with data, as GDAL makes
/// overviews. Uses the threads of the arena it is called in. `isMarked` tells whether any pixel may have no
/// data. False when GDAL fails.
[[nodiscard]] bool Reduce(LevelRows& fine, LevelRows& coarse, std::uint32_t end, Marking marking,
                          bool& isMarked);
/// Bytes that Reduce needs temporarily, with `threads` threads, for rows of an image this wide.
[[nodiscard]] std::uint64_t CountReducing(std::uint32_t columns, int threads);

} // namespace rasterhost
