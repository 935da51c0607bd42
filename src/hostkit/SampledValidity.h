#pragma once

#include "hostkit/PlacedWindow.h"
#include "hostkit/RowSampler.h"
#include "hostkit/SampleBlock.h"
#include "kernels/BilinearRow.h"

#include <array>
#include <vector>

namespace hostkit {

/// Finds for the pan pixels of a window whether they can be interpolated, and interpolates those beside
/// source pixels without data: from the valid ones among the four around them, their bilinear weights made to
/// add up to 1. So data reach less than one source pixel beyond the last valid one, and no sample without
/// data ever takes part. Cubic interpolation needs all sixteen and gives way to this.
class SampledValidity {
public:
    /// The source's `valid` is not null; the block outlives this.
    SampledValidity(const SamplerShape& shape, Resampling resampling, const SampleBlock& source);

    /// One entry for every column of a row of the window. False when all of the row is Reach::All, which is
    /// found without looking at each pixel.
    bool Find(std::uint32_t row, Reach* reach) const;

    /// Interpolates one pixel of Reach::Some into `out`, a sample for every band.
    void Sample(std::uint32_t column, std::uint32_t row, void* out) const;

private:
    [[nodiscard]] Reach FindOne(std::uint32_t column, std::uint32_t row) const;

    struct AxisReach {
        kernels::BilinearTap tap;
        std::array<std::uint32_t, 4> weighed{}; ///< the pixels of weight other than 0
        std::size_t count = 0;

        void Add(std::uint32_t pixel) { weighed[count++] = pixel; }
        [[nodiscard]] std::span<const std::uint32_t> All() const { return {weighed.data(), count}; }
    };
    [[nodiscard]] static std::vector<AxisReach> MakeAxis(std::span<const kernels::GridPosition> positions,
                                                         std::uint32_t pixels, Resampling resampling);

    SampleBlock block;
    std::uint32_t bits;
    std::uint32_t bands;
    std::vector<AxisReach> columns;
    std::vector<AxisReach> rows;
    std::vector<bool> isWhole; ///< for every row of the block: all of it has data
};

} // namespace hostkit
