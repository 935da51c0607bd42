#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

/// gain * x + offset, one rounding an operation.
struct LinearMap {
    double gain = 1.0;
    double offset = 0.0;
    double operator()(double x) const { return x * gain + offset; }
};

/// Samples a pixel in the two input rows and in the output row.
struct BlendBands {
    std::uint32_t input1 = 0;
    std::uint32_t input2 = 0;
    std::uint32_t output = 0;
};

/// The maps of every band, owned by the caller.
struct BlendMaps {
    const LinearMap* input1 = nullptr;
    const LinearMap* input2 = nullptr;
    const LinearMap* output = nullptr;
};

/// Calls blend(samples of row 1, samples of row 2, output samples) for each pixel of two rows interleaved by
/// pixel. Reads and writes exactly `pixels` pixels of each row; `out` overlaps neither input.
template <class T, class Blend>
inline void BlendRow(const T* row1, const T* row2, T* out, std::size_t pixels, BlendBands bands,
                     const Blend& blend) {
    for (std::size_t p = 0; p < pixels; ++p)
        blend(row1 + p * bands.input1, row2 + p * bands.input2, out + p * bands.output);
}

/// BlendRow for rows of `bands` bands each, whose output samples are formula(a, b, map of input 1, map of
/// input 2, map of the output) of the two samples a and b in the same place.
template <class T, class Formula>
inline void BlendSamples(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                         BlendMaps maps, const Formula& formula) {
    BlendRow(row1, row2, out, pixels, {bands, bands, bands}, [&](const T* a, const T* b, T* result) {
        for (std::uint32_t c = 0; c < bands; ++c)
            result[c] = formula(a[c], b[c], maps.input1[c], maps.input2[c], maps.output[c]);
    });
}

} // namespace kernels
