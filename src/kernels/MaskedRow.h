#pragma once

#include "kernels/GridAxis.h"
#include "kernels/Simd.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// Bilinear interpolation next to pixels without data, which do not take part.
namespace kernels {

/// The weights of four source pixels, those of the upper row first, for an output pixel between them. Those
/// without data get 0.
[[nodiscard]] inline std::array<double, 4> MaskedWeights(double fractionAcross, double fractionDown,
                                                         const std::array<bool, 4>& hasData) {
    return {hasData[0] ? (1.0 - fractionAcross) * (1.0 - fractionDown) : 0.0,
            hasData[1] ? fractionAcross * (1.0 - fractionDown) : 0.0,
            hasData[2] ? (1.0 - fractionAcross) * fractionDown : 0.0,
            hasData[3] ? fractionAcross * fractionDown : 0.0};
}

/// The sum of weights, in the order of the pixels.
[[nodiscard]] inline double SumWeights(const std::array<double, 4>& weights) {
    return weights[0] + weights[1] + weights[2] + weights[3];
}

/// The definition of a sample: the mean of those of four pixels. The sum of the weights is above 0.
template <class T>
[[nodiscard]] T MaskedSample(T a, T b, T c, T d, const std::array<double, 4>& weights) {
    const double sum = a * weights[0] + b * weights[1] + c * weights[2] + d * weights[3];
    return static_cast<T>(sum / SumWeights(weights) + 0.5); // none is negative
}

/// Consecutive columns of an output row that lie between the same four source pixels.
struct MaskedRun {
    std::uint32_t column = 0; ///< the first
    std::uint32_t end = 0;    ///< exclusive
    /// The source pixels before and after the columns, as offsets into a source row in samples.
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    std::array<bool, 4> hasData{}; ///< as for MaskedWeights
};

/// Entries behind the last column that may be read; their values do not matter.
inline constexpr std::size_t maskedPadding = 3;

/// Where the columns of an output row lie between their source pixels: an entry per column, and maskedPadding
/// more.
struct MaskedFractions {
    const double* across = nullptr;
    const float* exact = nullptr; ///< the same numbers; null unless AreMaskedExact
};

/// Whether float gives the samples of the definition, for the numbers of WholeSteps across and down.
///
/// Even ones are powers of 2. With n = across * down <= 256, weights are multiples of 1 / n, and sums of
/// fewer than 2^24 such parts are exact. If all pixels have data, the division by 1 is exact too. Otherwise
/// the weights add up to W / n with W < n. A mean is a half above a whole number, or more than 1 / (2 n) >=
/// 2^-9 away from that. The quotient is rounded by at most 2^-9, so it stays on its side. With the half added
/// it does so too: where its last place is 2^-8, the sum has the same.
[[nodiscard]] constexpr bool AreMaskedExact(std::uint32_t across, std::uint32_t down) {
    return AreWhole(across, down) && across % 2 == 0;
}

/// The two source rows of an output row, interleaved by pixel.
template <class T>
struct MaskedSource {
    const T* upper = nullptr;
    const T* lower = nullptr;
    double fraction = 0.0; ///< of the way from the upper row to the lower
    std::uint32_t bands = 0;
};

/// Interpolates the columns of the runs and leaves the others as they are. The weights of each column add up
/// to more than 0. `out` is the whole row, interleaved by pixel; it does not overlap the source.
template <class T>
using MaskedRow = void (*)(const MaskedSource<T>& source, std::span<const MaskedRun> runs,
                           const MaskedFractions& fractions, T* out);

/// The version for a vector target that can run here. The scalar one is the definition.
template <class T>
[[nodiscard]] MaskedRow<T> MaskedRowFor(SimdTarget target);

template <class T>
void MaskedRowScalar(const MaskedSource<T>& source, std::span<const MaskedRun> runs,
                     const MaskedFractions& fractions, T* out) {
    for (const MaskedRun& run : runs) {
        const T *upper[] = {source.upper + run.first, source.upper + run.second},
                *lower[] = {source.lower + run.first, source.lower + run.second};
        for (std::size_t column = run.column; column < run.end; ++column) {
            const auto weights = MaskedWeights(fractions.across[column], source.fraction, run.hasData);
            for (std::uint32_t band = 0; band < source.bands; ++band)
                out[column * source.bands + band] =
                    MaskedSample(upper[0][band], upper[1][band], lower[0][band], lower[1][band], weights);
        }
    }
}

} // namespace kernels
