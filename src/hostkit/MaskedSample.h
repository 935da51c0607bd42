#pragma once

#include "hostkit/SampleBlock.h"
#include "kernels/BilinearRow.h"
#include "kernels/MaskedRow.h"

#include <array>
#include <cstddef>

namespace hostkit {

/// True when a source pixel of the block has data. The pixel lies within the block.
[[nodiscard]] inline bool HasData(const SampleBlock& block, std::uint32_t column, std::uint32_t row) {
    return !block.valid || block.valid[std::size_t{row - block.rect.row0} * block.rect.GetColumns() +
                                       (column - block.rect.col0)] != 0;
}

/// Interpolates between four source pixels, using only those with data: their bilinear weights are scaled to
/// add up to 1. Writes one sample per band to `out`. False, with `out` unchanged, when no pixel of weight
/// above 0 has data.
template <class T>
bool SampleMasked(const SampleBlock& block, std::uint32_t bands, const kernels::BilinearTap& x,
                  const kernels::BilinearTap& y, T* out) {
    const std::uint32_t across[] = {x.first, x.second, x.first, x.second};
    const std::uint32_t down[] = {y.first, y.first, y.second, y.second};
    const T* samples[4] = {};
    std::array<bool, 4> hasData{};
    for (std::size_t i = 0; i < 4; ++i) {
        samples[i] = reinterpret_cast<const T*>(block.At(across[i], down[i], bands * sizeof(T)));
        hasData[i] = HasData(block, across[i], down[i]);
    }
    const auto weights = kernels::MaskedWeights(x.fraction, y.fraction, hasData);
    if (!(kernels::SumWeights(weights) > 0.0)) return false;
    for (std::uint32_t band = 0; band < bands; ++band)
        out[band] = kernels::MaskedSample(samples[0][band], samples[1][band], samples[2][band],
                                          samples[3][band], weights);
    return true;
}

} // namespace hostkit
