#pragma once

#include "kernels/CubicRow.h"

#include <memory>

namespace kernels {

/// Interpolates rows of a window by cubic convolution with the vectors of a target: the samples of
/// CubicAcross and CubicDown.
template <class T>
class CubicResampler {
public:
    virtual ~CubicResampler() = default;

    /// The first pixel of a source row that it reads.
    [[nodiscard]] virtual std::uint32_t GetFirstPixel() const = 0;

    /// Makes a row of the window of four rows of the source, each from that pixel on.
    virtual void Make(const std::array<const T*, 4>& source, const CubicTap& down, T* out) = 0;
};

/// `pixels` are those of a row of the whole source; `isExact` when the steps are whole, down as across. Null
/// for the scalar target, and where the columns lie too far apart for it.
template <class T>
[[nodiscard]] std::unique_ptr<CubicResampler<T>> MakeCubicResampler(std::span<const GridPosition> columns,
                                                                    std::int64_t pixels, std::uint32_t bands,
                                                                    bool isExact, SimdTarget target);

} // namespace kernels
