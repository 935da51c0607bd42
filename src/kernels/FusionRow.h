#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kernels {

struct InjectionGains;

/// What a fusing kernel needs to know of the bands. The weights, one per multispectral band, and the gains
/// belong to the caller.
struct BandWeights {
    const double* weights = nullptr;
    std::uint32_t msBands = 0;
    std::uint32_t outputBands = 0;             ///< number of bands written: the first ones, at most msBands
    const InjectionGains* injection = nullptr; ///< used only by InjectionRow, which requires it
};

/// The input rows of a fusing kernel, all of the same number of pixels.
template <class T>
struct FusionRows {
    const T* ms = nullptr; ///< the multispectral bands interleaved by pixel: all, or all but the last
    const T* pan = nullptr;
    const T* additional = nullptr; ///< the last multispectral band if it is stored apart, else null

    /// The number of bands per pixel of `ms`.
    [[nodiscard]] std::uint32_t InterleavedBands(const BandWeights& bands) const {
        return bands.msBands - (additional ? 1 : 0);
    }
    /// The rows from a pixel on.
    [[nodiscard]] FusionRows From(std::size_t pixel, const BandWeights& bands) const {
        return {ms + pixel * InterleavedBands(bands), pan + pixel, additional ? additional + pixel : nullptr};
    }
    [[nodiscard]] T Band(std::size_t pixel, std::uint32_t band, const BandWeights& bands) const {
        const std::uint32_t interleaved = InterleavedBands(bands);
        return band < interleaved ? ms[pixel * interleaved + band] : additional[pixel];
    }
};

/// Fuses one row of `pixels` pixels. Reads exactly that many of every row of `rows` and writes exactly pixels
/// * outputBands samples to `out`, interleaved by pixel. `out` must not overlap an input.
template <class T>
using FuseRow = void (*)(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands);

/// Fuses a row by a formula of a pixel's pan sample and of s, the weighted sum of its bands. The sum is added
/// up from 0.0 in the order of the bands, with one rounding per operation. formula(pan, s) returns a function
/// that makes an output sample of a band's sample and number.
template <class T, class Formula>
inline void FuseByFormula(const FusionRows<T>& rows, T* out, std::size_t pixels, const BandWeights& bands,
                          const Formula& formula) {
    const std::uint32_t interleaved = rows.InterleavedBands(bands);
    const std::uint32_t written = std::min(interleaved, bands.outputBands);
    const T* ms = rows.ms;
    for (std::size_t p = 0; p < pixels; ++p, ms += interleaved, out += bands.outputBands) {
        double s = 0.0;
        for (std::uint32_t b = 0; b < interleaved; ++b)
            s = s + ms[b] * bands.weights[b];
        if (rows.additional) s = s + rows.additional[p] * bands.weights[interleaved];
        const auto fused = formula(rows.pan[p], s);
        for (std::uint32_t c = 0; c < written; ++c)
            out[c] = fused(ms[c], c);
        if (written < bands.outputBands) out[written] = fused(rows.additional[p], written);
    }
}

} // namespace kernels
