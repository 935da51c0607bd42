#pragma once

#include "kernels/FilteredBlend.h"
#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Combines rows of two images pixel by pixel. All rows are interleaved by pixel. Every function reads and
/// writes exactly `pixels` pixels of each row. `out` must not overlap an input.
namespace kernels {

/// The formula of a sample from the samples a and b at the same position, with the linear maps m1, m2 and m
/// of their band.
enum class SampleBlend : std::uint8_t {
    Sum,             ///< m(m1(a) + m2(b)), truncated; 0 if it is not finite
    Product,         ///< m(m2(b) * m1(a)), stored like Sum
    Quotient,        ///< m(m1(a) / m2(b)), stored like Sum
    Difference,      ///< m(m1(a) - m2(b)), rounded half up
    PlainDifference, ///< m(a - b), rounded half up
};

/// The maps of the bands of an image: gains and offsets of bands 1, 2, ..., repeated for vectors
/// (mostLanesOfMaps).
struct MapsOfRow {
    MapsOfRow() = default;
    explicit MapsOfRow(std::span<const LinearMap> ofBands);
    [[nodiscard]] LinearMap OfBand(std::size_t band) const { return {gains[band], offsets[band]}; }
    std::vector<double> gains, offsets;
};

/// A blend with the maps of both inputs and of the output, one map per band in each. Made once per operator.
template <class T>
struct BlendMaps {
    BlendMaps() = default;
    BlendMaps(SampleBlend sampleBlend, std::span<const LinearMap> ofInput1,
              std::span<const LinearMap> ofInput2, std::span<const LinearMap> ofOutput);

    SampleBlend blend = SampleBlend::Sum;
    MapsOfRow input1, input2, output;
    FilteredBlend<T> filtered;
};

/// The functions of one vector target.
template <class T>
struct BlendKernels {
    /// Blends two rows of `bands` bands each.
    void (*samples)(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                    const BlendMaps<T>& maps);
    /// Writes one band: the largest |a - b| over the bands of a pixel, mapped and rounded half up.
    void (*largestDifference)(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                              const LinearMap& output);
    /// Copies row 1. Where the mask, one band, is `value`, it writes `color` instead: `bands` samples.
    void (*mask)(const T* row1, const T* mask, T* out, std::size_t pixels, std::uint32_t bands,
                 std::uint32_t value, const T* color);
    /// Writes the bands of row 1, then those of row 2.
    void (*merge)(const T* row1, std::uint32_t bands1, const T* row2, std::uint32_t bands2, T* out,
                  std::size_t pixels);
    /// Replaces the first sample y of every three by map2(x) + map1(y), rounded half up; x is the sample of
    /// row 2.
    void (*addToFirst)(T* row1, const T* row2, std::size_t pixels, const LinearMap& map1,
                       const LinearMap& map2);
};

/// The kernels for a vector target that can run here. The scalar ones are the definition.
template <class T>
[[nodiscard]] BlendKernels<T> BlendKernelsFor(SimdTarget target);
template <class T>
[[nodiscard]] BlendKernels<T> ScalarBlendKernels();

} // namespace kernels
