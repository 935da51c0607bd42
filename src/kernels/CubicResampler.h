#pragma once

#include "kernels/CubicRow.h"

#include <memory>

namespace kernels {

/// Interpolates rows of a window by cubic convolution in the vectors of a target. The samples equal those of
/// CubicAcross and CubicDown.
template <class T>
class CubicResampler {
public:
    virtual ~CubicResampler() = default;

    /// The first pixel of a source row that it reads.
    [[nodiscard]] virtual std::uint32_t GetFirstPixel() const = 0;

    /// Computes a row of the window from four rows of the source, each given from the first pixel read.
    virtual void Make(const std::array<const T*, 4>& source, const CubicTap& down, T* out) = 0;
};

/// `pixels` is the width of the whole source, `stepsDown` the WholeSteps of the rows that will be made. Null
/// for the scalar target, and where there is no plan (see MakeAcrossPlan).
template <class T>
[[nodiscard]] std::unique_ptr<CubicResampler<T>>
MakeCubicResampler(std::span<const GridPosition> columns, std::int64_t pixels, std::uint32_t bands,
                   std::uint32_t stepsDown, SimdTarget target);

} // namespace kernels
