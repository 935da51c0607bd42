#pragma once

#include "imagery/HeldRows.h"
#include "kernels/SumRow.h"
#include "quality/GaussianAxis.h"

#include <span>
#include <vector>

namespace imagery {

/// Some rows of an image, as real numbers.
struct NumberRows {
    std::vector<double> numbers;      ///< interleaved by pixel, 0 without data
    std::vector<unsigned char> valid; ///< a byte per pixel, 0 without data
};

/// A fine image as a coarser sensor would see it. A coarse pixel has data when all fine pixels that it is
/// made of have data. The fine image must outlive this. Rows read in order are read once.
class DegradedRows final : public RowSource {
public:
    /// `fineRows` may omit the columns left of `firstColumn`, and those to the right of all that are needed.
    DegradedRows(RowSource& fineRows, quality::GaussianAxis columnAxis, quality::GaussianAxis rowAxis,
                 std::size_t firstColumn = 0)
        : fine(fineRows), left(firstColumn), across(std::move(columnAxis)), down(std::move(rowAxis)) {}

    /// The same, taking ownership of the fine rows.
    DegradedRows(std::unique_ptr<RowSource> fineRows, quality::GaussianAxis columnAxis,
                 quality::GaussianAxis rowAxis, std::size_t firstColumn)
        : DegradedRows(*fineRows, std::move(columnAxis), std::move(rowAxis), firstColumn) {
        own = std::move(fineRows);
    }

    /// The fine rows. Those of the last rows that were read are still held.
    [[nodiscard]] HeldRows& GetFine() { return fine; }
    [[nodiscard]] std::uint32_t GetColumns() const override {
        return static_cast<std::uint32_t>(across.GetTaps().size());
    }
    [[nodiscard]] std::uint32_t GetRows() const override {
        return static_cast<std::uint32_t>(down.GetTaps().size());
    }
    [[nodiscard]] std::size_t GetBands() const override { return fine.GetSource().GetBands(); }
    /// Reads rows rounded to the nearest sample.
    [[nodiscard]] bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                            Status& status) override;
    /// Reads rows without rounding.
    [[nodiscard]] bool ReadNumbers(std::uint32_t first, std::uint32_t end, NumberRows& rows, Status& status);

private:
    void MakeDown(const quality::GaussianAxis::Taps& taps);
    void MakeAcross(double* out, unsigned char* valid) const;
    template <std::size_t known>
    void SumAcross(const quality::GaussianAxis::Taps& taps, std::size_t count, double* out) const;

    std::unique_ptr<RowSource> own; ///< null when the caller owns the rows
    HeldRows fine;
    std::size_t left; ///< where the fine rows begin on the axis
    quality::GaussianAxis across, down;
    kernels::SumWeighted sumWeighted = kernels::SumWeightedFor(kernels::ChosenSimdTarget());
    std::vector<HeldRows::Row> rowsOfOne; ///< the fine rows of one coarse row
    std::vector<const unsigned short*> samplesOfOne;
    std::vector<double> narrowed;            ///< a coarse row with the columns of the fine image
    std::vector<unsigned char> narrowedMask; ///< its mask; empty when all of it has data
    NumberRows numbers;
};

/// The axes of an image as seen on the grid of a coarser one, with kernels centred on the coarse pixels.
/// `transfers` as in GaussianAxis. `part` is a rectangle of coarse pixels.
struct DegradedAxes {
    quality::GaussianAxis across, down;
};
[[nodiscard]] DegradedAxes AxesOnto(const KOVA::Tessara::Pixmere::RasterInfo& fine,
                                    const KOVA::Tessara::Pixmere::RasterInfo& coarse,
                                    const hostkit::PixelRect& part, std::span<const double> transfers);

} // namespace imagery
