#pragma once

#include "kernels/BilinearRow.h"

#include <memory>
#include <vector>

namespace hostkit {

/// Interpolates rows of a window from a source. In ascending order every source row is interpolated across
/// once.
class RowSampler {
public:
    virtual ~RowSampler() = default;

    /// Writes the window's row between two source rows, `fraction` of the way from the upper to the lower:
    /// samples of the source's depth, columns x bands. The numbers tell the source rows apart; `upper` and
    /// `lower` point at their first sample and are read only when the row is not at hand.
    virtual void Sample(std::uint32_t upperNumber, const unsigned char* upper, std::uint32_t lowerNumber,
                        const unsigned char* lower, double fraction, void* out) = 0;
};

/// A sampler for source rows of `bits` per sample, 8 or 16. `columnTaps` are in samples; `rowTaps` tell which
/// fractions will be asked for: where all fractions are coarse binary ones it works in whole numbers, several
/// times faster and with the same samples.
[[nodiscard]] std::unique_ptr<RowSampler> MakeRowSampler(std::uint32_t bits, std::uint32_t bands,
                                                         std::vector<kernels::BilinearTap> columnTaps,
                                                         std::span<const kernels::BilinearTap> rowTaps);

} // namespace hostkit
