#pragma once

#include "quality/GaussianAxis.h"
#include "rasterhost/reading/RowSource.h"

#include <span>

namespace rasterhost {

/// A fine image as a coarser sensor would have seen it. A coarse pixel has data when all fine pixels that it
/// is made of have. The fine image outlives this.
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
    [[nodiscard]] bool Read(std::uint32_t first, std::uint32_t end, SampleRows& rows,
                            Status& status) override;

private:
    void MakeAcross(std::size_t sourceRow, std::size_t row, const SampleRows& source);
    void MakeDown(const quality::GaussianAxis::Taps& taps, std::size_t firstFine, double* out,
                  unsigned char* valid) const;

    RowSource& fine;
    quality::GaussianAxis across, down;
    SampleRows narrowed; ///< fine rows with the columns of the coarse image
};

/// An image seen on the grid of a coarser one, kernels centred at the centres of its pixels. `transfers` as
/// GaussianAxis takes them. `part` are pixels of the coarse image, `fineRows` all of the fine one.
[[nodiscard]] DegradedRows DegradeOnto(RowSource& fineRows, const KOVA::Tessara::Pixmere::RasterInfo& fine,
                                       const KOVA::Tessara::Pixmere::RasterInfo& coarse,
                                       const hostkit::PixelRect& part, std::span<const double> transfers);

} // namespace rasterhost
