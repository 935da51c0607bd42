#pragma once

#include "imagery/HeldRows.h"
#include "kernels/SumRow.h"
#include "quality/GaussianAxis.h"

#include <span>
#include <vector>

namespace imagery {

/// Some rows of an image as numbers.
struct NumberRows {
    std::vector<double> numbers;      ///< interleaved by pixel, 0 without data
    std::vector<unsigned char> valid; ///< a byte per pixel, 0 without data
};

/// A fine image as a coarser sensor would have seen it. A coarse pixel has data when all fine pixels that it
/// is made of have. The fine image outlives this. Rows that are read in order are read once.
class DegradedRows final : public RowSource {
public:
    /// `fineRows` may leave out the columns left of `firstColumn`, and those right of all that are needed.
    DegradedRows(RowSource& fineRows, quality::GaussianAxis columnAxis, quality::GaussianAxis rowAxis,
                 std::size_t firstColumn = 0)
        : fine(fineRows), left(firstColumn), across(std::move(columnAxis)), down(std::move(rowAxis)) {}

    /// The same of fine rows that are given away.
    DegradedRows(std::unique_ptr<RowSource> fineRows, quality::GaussianAxis columnAxis,
                 quality::GaussianAxis rowAxis, std::size_t firstColumn)
        : DegradedRows(*fineRows, std::move(columnAxis), std::move(rowAxis), firstColumn) {
        own = std::move(fineRows);
    }

    /// The fine rows, of which those that the last rows were made of are at hand.
    [[nodiscard]] HeldRows& GetFine() { return fine; }
    [[nodiscard]] std::uint32_t GetColumns() const override {
        return static_cast<std::uint32_t>(across.GetTaps().size());
    }
    [[nodiscard]] std::uint32_t GetRows() const override {
        return static_cast<std::uint32_t>(down.GetTaps().size());
    }
    [[nodiscard]] std::size_t GetBands() const override { return fine.GetSource().GetBands(); }
    /// Rounded to the nearest samples.
    [[nodiscard]] bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                            Status& status) override;
    /// As they are.
    [[nodiscard]] bool ReadNumbers(std::uint32_t first, std::uint32_t end, NumberRows& rows, Status& status);

private:
    void MakeDown(const quality::GaussianAxis::Taps& taps);
    void MakeAcross(double* out, unsigned char* valid) const;
    template <std::size_t known>
    void SumAcross(const quality::GaussianAxis::Taps& taps, std::size_t count, double* out) const;

    std::unique_ptr<RowSource> own; ///< null where another has it
    HeldRows fine;
    std::size_t left; ///< of the axis, where the fine rows begin
    quality::GaussianAxis across, down;
    kernels::SumWeighted sumWeighted = kernels::SumWeightedFor(kernels::ChosenSimdTarget());
    std::vector<HeldRows::Row> rowsOfOne; ///< that a coarse row is made of
    std::vector<const unsigned short*> samplesOfOne;
    std::vector<double> narrowed;            ///< a coarse row with the columns of the fine image
    std::vector<unsigned char> narrowedMask; ///< where it has data; empty where it has it throughout
    NumberRows numbers;
};

/// The axes of an image seen on the grid of a coarser one, kernels centred at the centres of its pixels.
/// `transfers` as GaussianAxis takes them. `part` are pixels of the coarse image.
struct DegradedAxes {
    quality::GaussianAxis across, down;
};
[[nodiscard]] DegradedAxes AxesOnto(const KOVA::Tessara::Pixmere::RasterInfo& fine,
                                    const KOVA::Tessara::Pixmere::RasterInfo& coarse,
                                    const hostkit::PixelRect& part, std::span<const double> transfers);

} // namespace imagery
