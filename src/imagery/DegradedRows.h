#pragma once

#include "imagery/RowSource.h"
#include "kernels/SumRow.h"
#include "quality/GaussianAxis.h"

#include <span>

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
    DegradedRows(RowSource& fineRows, quality::GaussianAxis columnAxis, quality::GaussianAxis rowAxis)
        : fine(fineRows), across(std::move(columnAxis)), down(std::move(rowAxis)) {}

    [[nodiscard]] std::uint32_t GetColumns() const override {
        return static_cast<std::uint32_t>(across.GetTaps().size());
    }
    [[nodiscard]] std::uint32_t GetRows() const override {
        return static_cast<std::uint32_t>(down.GetTaps().size());
    }
    [[nodiscard]] std::size_t GetBands() const override { return fine.GetBands(); }
    /// Rounded to the nearest samples.
    [[nodiscard]] bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                            Status& status) override;
    /// As they are.
    [[nodiscard]] bool ReadNumbers(std::uint32_t first, std::uint32_t end, NumberRows& rows, Status& status);

private:
    bool Hold(std::size_t first, std::size_t end, Status& status);
    void MakeDown(const quality::GaussianAxis::Taps& taps);
    void MakeAcross(double* out, unsigned char* valid) const;
    template <std::size_t known>
    void SumAcross(const quality::GaussianAxis::Taps& taps, std::size_t count, double* out) const;

    RowSource& fine;
    quality::GaussianAxis across, down;
    kernels::AddWeighted addWeighted = kernels::AddWeightedFor(kernels::ChosenSimdTarget());
    SampleRows fresh, held;                  ///< fine rows
    std::size_t heldFirst = 0, heldEnd = 0;  ///< which of them are held
    std::vector<double> narrowed;            ///< a coarse row with the columns of the fine image
    std::vector<unsigned char> narrowedMask; ///< where it has data
    NumberRows numbers;
};

/// An image seen on the grid of a coarser one, kernels centred at the centres of its pixels. `transfers` as
/// GaussianAxis takes them. `part` are pixels of the coarse image, `fineRows` all of the fine one.
[[nodiscard]] DegradedRows DegradeOnto(RowSource& fineRows, const KOVA::Tessara::Pixmere::RasterInfo& fine,
                                       const KOVA::Tessara::Pixmere::RasterInfo& coarse,
                                       const hostkit::PixelRect& part, std::span<const double> transfers);

} // namespace imagery
