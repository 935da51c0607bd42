#pragma once

#include "hostkit/SampleBlock.h"
#include "kernels/BilinearRow.h"

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
    const struct {
        std::uint32_t column, row;
        double weight;
    } neighbours[] = {{x.first, y.first, (1.0 - x.fraction) * (1.0 - y.fraction)},
                      {x.second, y.first, x.fraction * (1.0 - y.fraction)},
                      {x.first, y.second, (1.0 - x.fraction) * y.fraction},
                      {x.second, y.second, x.fraction * y.fraction}};
    const T* samples[4] = {}; // of those with data, which come first
    double weight[4] = {}, weights = 0.0;
    std::size_t count = 0;
    for (const auto& at : neighbours) {
        if (!HasData(block, at.column, at.row)) continue;
        samples[count] = reinterpret_cast<const T*>(block.At(at.column, at.row, bands * sizeof(T)));
        weight[count++] = at.weight;
        weights += at.weight;
    }
    if (!(weights > 0.0)) return false;
    for (std::uint32_t band = 0; band < bands; ++band) {
        double sum = 0.0;
        for (std::size_t i = 0; i < count; ++i)
            sum += samples[i][band] * weight[i];
        out[band] = static_cast<T>(sum / weights + 0.5); // none is negative
    }
    return true;
}

} // namespace hostkit
