#pragma once

#include "hostkit/Resampling.h"
#include "hostkit/SampleBlock.h"
#include "kernels/GridAxis.h"

#include <cstdint>
#include <memory>
#include <span>

namespace hostkit {

/// Interpolates rows of a window from a source. In ascending order every source row is interpolated across
/// once.
class RowSampler {
public:
    virtual ~RowSampler() = default;

    /// Writes a row of the window, counted from its first: samples of the source's depth, columns x bands.
    /// `source` holds the samples of the rows that it lies between.
    virtual void Sample(std::uint32_t row, const SampleBlock& source, void* out) = 0;
};

/// What a sampler is made for.
struct SamplerShape {
    std::uint32_t bits = 0;        ///< of a source sample, 8 or 16
    std::uint32_t bands = 0;       ///< samples of a pixel
    std::uint32_t firstColumn = 0; ///< of the source block that it is going to be given
    /// Where the window's columns and rows lie on the source, and how many pixels that has.
    std::span<const kernels::GridPosition> columns;
    std::span<const kernels::GridPosition> rows; ///< the same down
    std::uint32_t sourceColumns = 0;             ///< pixels of the whole source
    std::uint32_t sourceRows = 0;                ///< the same down
};

/// Bilinear sampling where all fractions are coarse binary ones works in whole numbers, several times faster
/// and with the same samples.
[[nodiscard]] std::unique_ptr<RowSampler> MakeRowSampler(const SamplerShape& shape, Resampling resampling);

} // namespace hostkit
