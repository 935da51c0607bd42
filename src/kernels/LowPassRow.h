#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The low-pass of an image at the pixel centres of a coarser grid, separated by axis: down first, then
/// across. Weights are whole numbers and all sums exact, so the order of adding does not matter.
namespace kernels {

/// The sum of the weights of a coarse pixel along one axis. Sums down stay below 2^30, sums across of those
/// below 2^44.
inline constexpr int lowPassBits = 14;
inline constexpr std::uint32_t lowPassOne = std::uint32_t{1} << lowPassBits;
/// Vectors across read whole groups of this many sums down and weights; a weight beyond the last is 0.
inline constexpr std::uint32_t lowPassGroup = 8;

/// Which fine pixels make up a coarse pixel along one axis, with their weights: a Gaussian around the exact
/// position of its centre, cut at three standard deviations.
class LowPassAxis {
public:
    /// The fine pixels of one coarse pixel; count is 0 when none is within reach.
    struct Taps {
        std::uint32_t first = 0;
        std::uint32_t count = 0;
        std::size_t weights = 0; ///< index of its first weight
        /// How many coarse pixels, with this one, at least 1, have the same weights, evenly spaced.
        std::uint32_t alike = 1;
    };

    /// For the coarse pixels 0 to coarsePixels - 1. `axis` tells how the fine grid lies on the coarse one.
    /// `sigma` is the standard deviation in coarse pixels. The weight of fine pixels beyond the edge is
    /// shared by those inside.
    LowPassAxis(const GridAxis& axis, double sigma, std::uint32_t coarsePixels, std::uint32_t finePixels);

    [[nodiscard]] const Taps& GetTaps(std::uint32_t coarse) const { return taps[coarse]; }
    [[nodiscard]] const std::uint32_t* GetWeights(const Taps& of) const {
        return weights.data() + of.weights;
    }

private:
    void AddWeights(const GridPosition& centre, double sigma, const Taps& of);

    std::vector<Taps> taps;
    std::vector<std::uint32_t> weights;
};

/// Sums down: sums[i] = weights[0] * rows[0][i] + ... + weights[count - 1] * rows[count - 1][i] for `columns`
/// columns. The weights must add up to at most lowPassOne, since sums and pairs of weights are kept in 32 and
/// 16 bits with sign.
template <class T>
using WeighRows = void (*)(const T* const* rows, const std::uint32_t* weights, std::size_t count,
                           std::size_t columns, std::uint32_t* sums);

/// The version for a vector target that can run here. The scalar one is the definition.
template <class T>
[[nodiscard]] WeighRows<T> WeighRowsFor(SimdTarget target);

template <class T>
void WeighRowsScalar(const T* const* rows, const std::uint32_t* weights, std::size_t count,
                     std::size_t columns, std::uint32_t* sums);

/// The weighted sum across of `count` sums down.
[[nodiscard]] inline std::uint64_t WeighColumns(const std::uint32_t* sums, const std::uint32_t* weights,
                                                std::size_t count) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum += std::uint64_t{sums[i]} * weights[i];
    return sum;
}

/// WeighColumns for `columns` coarse pixels from `first` on; 0 without taps. `down` holds the sums down from
/// the fine pixel `downFirst` on, and lowPassGroup numbers more, of any value.
using WeighAcross = void (*)(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
                             const std::uint32_t* down, std::uint32_t downFirst, std::uint64_t* sums);

/// The version for a vector target that can run here. The scalar one is the definition.
[[nodiscard]] WeighAcross WeighAcrossFor(SimdTarget target);

void WeighAcrossScalar(const LowPassAxis& across, std::uint32_t first, std::size_t columns,
                       const std::uint32_t* down, std::uint32_t downFirst, std::uint64_t* sums);

} // namespace kernels
