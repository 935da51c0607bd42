#pragma once

#include "hostkit/PlacedWindow.h"
#include "hostkit/RowSampler.h"
#include "hostkit/SampleBlock.h"
#include "kernels/BilinearRow.h"
#include "kernels/MaskedRow.h"

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace hostkit {

/// Finds which pan pixels of a window can be interpolated, and interpolates those next to source pixels
/// without data. Such a pixel is made of the valid ones among the four source pixels around it; their
/// bilinear weights are scaled to add up to 1. So data reach less than one source pixel beyond the last valid
/// one, and a sample without data never takes part. Where not all sixteen pixels of cubic interpolation have
/// data, the bilinear rule is used.
class SampledValidity {
public:
    /// `source.valid` is not null. The block must outlive this.
    SampledValidity(const SamplerShape& shape, Resampling resampling, const SampleBlock& source);

    /// Finds which pixels of a row of the window have data. False when all of it is Reach::All, which is
    /// found without a look at each pixel. Rows between the same two source rows share the result.
    bool Find(std::uint32_t row);

    /// The row that was found last, one entry per column. Only valid after Find returned true.
    [[nodiscard]] std::span<const Reach> GetReach() const { return reach; }

    /// Interpolates that row's pixels of Reach::Some. `row` is a row of samples of the whole window.
    void SampleSome(void* row) const;

private:
    struct AxisReach {
        kernels::BilinearTap tap;
        std::array<std::uint32_t, 4> weighed{}; ///< the pixels whose weight is not 0
        std::size_t count = 0;

        void Add(std::uint32_t pixel) { weighed[count++] = pixel; }
        [[nodiscard]] std::span<const std::uint32_t> All() const { return {weighed.data(), count}; }
        /// Whether the first pixel of the tap has a weight above 0.
        [[nodiscard]] bool TakesFirst() const { return tap.fraction < 1.0; }
        [[nodiscard]] bool TakesSecond() const { return tap.fraction > 0.0; }
        /// True when both use the same pixels.
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
    std::vector<bool> isWhole;         ///< per row of the block: all of it has data
    std::vector<double> fractions;     ///< for kernels::MaskedFractions
    std::vector<float> exactFractions; ///< likewise; empty if float is not exact
    std::vector<std::uint32_t> runs;   ///< where runs of columns made of the same pixels begin, and the end
    /// Per column of the block, and for its end: the first run whose tap begins there or after it; the
    /// number of runs if none does.
    std::vector<std::uint32_t> firstRuns;
    std::optional<std::uint32_t> found;
    bool hasGaps = false;
    std::vector<Reach> reach;
    std::vector<kernels::MaskedRun> some; ///< of Reach::Some
    /// Per column of the block: not 0 when all the rows used have data there, and when any row of bilinear
    /// weight above 0 has.
    std::vector<unsigned char> areAll, isAny;
};

} // namespace hostkit
