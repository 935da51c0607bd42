#pragma once

#include "hostkit/PlacedWindow.h"
#include "hostkit/RowSampler.h"
#include "hostkit/SampleBlock.h"
#include "kernels/BilinearRow.h"

#include <array>
#include <optional>
#include <span>
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

    /// Finds how far data reach in a row of the window. False when all of it is Reach::All, which is found
    /// without looking at each pixel. Rows that lie between the same rows of the source are alike.
    bool Find(std::uint32_t row);

    /// One entry for every column of the row that was found last and is not all Reach::All.
    [[nodiscard]] std::span<const Reach> GetReach() const { return reach; }

    /// Interpolates that row's pixels of Reach::Some where they lie in a row of samples.
    void SampleSome(void* row) const;

private:
    struct AxisReach {
        kernels::BilinearTap tap;
        std::array<std::uint32_t, 4> weighed{}; ///< the pixels of weight other than 0
        std::size_t count = 0;

        void Add(std::uint32_t pixel) { weighed[count++] = pixel; }
        [[nodiscard]] std::span<const std::uint32_t> All() const { return {weighed.data(), count}; }
        /// The pixels of the tap that weigh anything.
        [[nodiscard]] bool TakesFirst() const { return tap.fraction < 1.0; }
        [[nodiscard]] bool TakesSecond() const { return tap.fraction > 0.0; }
        /// True when both are made of the same pixels.
        [[nodiscard]] bool IsLike(const AxisReach& other) const;
    };
    [[nodiscard]] static std::vector<AxisReach> MakeAxis(std::span<const kernels::GridPosition> positions,
                                                         std::uint32_t pixels, Resampling resampling);
    void FindColumns(const AxisReach& down);
    [[nodiscard]] const unsigned char* ValidRow(std::uint32_t row) const;
    template <class T>
    void SampleSomeOf(T* row) const;

    SampleBlock block;
    std::uint32_t bits;
    std::uint32_t bands;
    std::vector<AxisReach> columns;
    std::vector<AxisReach> rows;
    std::vector<bool> isWhole;       ///< for every row of the block: all of it has data
    std::vector<std::uint32_t> runs; ///< where columns begin that are made of the same pixels; the end
    std::optional<std::uint32_t> found;
    bool hasGaps = false;
    std::vector<Reach> reach;
    std::vector<std::uint32_t> some; ///< columns of Reach::Some
    /// For every column of the block: not 0 where all rows that are weighed have data, and where one of those
    /// of the bilinear weights has.
    std::vector<unsigned char> areAll, isAny;
};

} // namespace hostkit
