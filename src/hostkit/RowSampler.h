#pragma once

#include "hostkit/Resampling.h"
#include "hostkit/SampleBlock.h"
#include "kernels/GridAxis.h"

#include <cstdint>
#include <memory>
#include <span>

namespace hostkit {

/// Interpolates rows of a window from a source. In ascending order, every source row is interpolated across
/// once.
class RowSampler {
public:
    virtual ~RowSampler() = default;

    /// Writes a row of the window, counted from its first: columns x bands samples of the source's depth.
    /// `source` holds the source rows on both sides of it.
    virtual void Sample(std::uint32_t row, const SampleBlock& source, void* out) = 0;
};

/// The parameters of a sampler.
struct SamplerShape {
    std::uint32_t bits = 0;        ///< of a source sample, 8 or 16
    std::uint32_t bands = 0;       ///< samples per pixel
    std::uint32_t firstColumn = 0; ///< of the source block that Sample will get
    /// Where the window's columns lie on the source, between its pixel centres.
    std::span<const kernels::GridPosition> columns;
    std::span<const kernels::GridPosition> rows; ///< the same down
    std::uint32_t sourceColumns = 0;             ///< pixels of the whole source
    std::uint32_t sourceRows = 0;                ///< the same down
};

/// Makes a sampler. With vectors, bilinear sampling whose fractions repeat after few steps
/// (kernels::AreWhole) is computed in whole numbers: faster, with the same samples.
[[nodiscard]] std::unique_ptr<RowSampler> MakeRowSampler(const SamplerShape& shape, Resampling resampling);

} // namespace hostkit
