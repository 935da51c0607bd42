#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

namespace kernels {

/// gain * x + offset, with one rounding per operation.
struct LinearMap {
    double gain = 1.0;
    double offset = 0.0;
    double operator()(double x) const { return x * gain + offset; }
};

enum class SampleBlend : std::uint8_t; // BlendRow.h

/// Per-band values are repeated so that the lanes of a vector can be loaded from any band on.
inline constexpr std::size_t mostLanesOfMaps = 32;

/// A blend with fewer operations than its definition, and a bound on its error. 8-bit samples are computed in
/// float, 16-bit samples in double. The filter computes
///
///     a * gain1 + (b * gain2 + offset)                           sums and differences
///     (a * gain1 + offset1) * (b * gain2 + offset2) + offset     products
///     (a * gain1 + offset1) / (b * gain2 + offset2) + offset     quotients
///
/// and returns fixedOne * result + FixedOffset(error), to be truncated. A quotient by 0 is 0.
template <class T>
struct FilteredBlend {
    using Real = std::conditional_t<sizeof(T) == 1, float, double>;

    FilteredBlend() = default;
    FilteredBlend(SampleBlend blend, std::span<const LinearMap> ofInput1, std::span<const LinearMap> ofInput2,
                  std::span<const LinearMap> ofOutput);

    bool isPossible = false;
    static constexpr int exact = -1;
    int error = exact; ///< of results within the range of samples; `exact` ones are multiples of 2^-12
    std::vector<Real> gain1, offset1, gain2, offset2, offset;
};

} // namespace kernels
