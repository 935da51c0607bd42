#pragma once

#include "kernels/FilteredBlend.h"
#include "kernels/Simd.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Rows of two images combined pixel by pixel, all interleaved by pixel. Every function reads and writes
/// exactly `pixels` pixels of each row; `out` overlaps neither input.
namespace kernels {

/// How a sample comes from the samples a and b in the same place, with the maps m1, m2 and m of their band.
enum class SampleBlend : std::uint8_t {
    Sum,             ///< m(m1(a) + m2(b)), truncated; 0 where that is not finite
    Product,         ///< m(m2(b) * m1(a)), as Sum
    Quotient,        ///< m(m1(a) / m2(b)), as Sum
    Difference,      ///< m(m1(a) - m2(b)), rounded half up
    PlainDifference, ///< m(a - b), rounded half up
};

/// The maps of the bands of an image, as gains and offsets of bands 1, 2, ..., 1, 2, ...; see
/// mostLanesOfMaps.
struct MapsOfRow {
    MapsOfRow() = default;
    explicit MapsOfRow(std::span<const LinearMap> ofBands);
    [[nodiscard]] LinearMap OfBand(std::size_t band) const { return {gains[band], offsets[band]}; }
    std::vector<double> gains, offsets;
};

/// A blend and the maps of both inputs and of the output, of as many bands. Made once an operator.
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
    /// Rows of `bands` bands each.
    void (*samples)(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                    const BlendMaps<T>& maps);
    /// The largest |a - b| of a pixel's bands, mapped and rounded half up; one band.
    void (*largestDifference)(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                              const LinearMap& output);
    /// The pixels of row 1, but `color`, of as many bands, where the mask's one band is `value`.
    void (*mask)(const T* row1, const T* mask, T* out, std::size_t pixels, std::uint32_t bands,
                 std::uint32_t value, const T* color);
    /// The bands of row 1, then those of row 2.
    void (*merge)(const T* row1, std::uint32_t bands1, const T* row2, std::uint32_t bands2, T* out,
                  std::size_t pixels);
    /// Replaces the first y of every three samples by map2(x) + map1(y), rounded half up, x being of row 2.
    void (*addToFirst)(T* row1, const T* row2, std::size_t pixels, const LinearMap& map1,
                       const LinearMap& map2);
};

/// Those for a vector target that can run here; the scalar ones are the definition.
template <class T>
[[nodiscard]] BlendKernels<T> BlendKernelsFor(SimdTarget target);
template <class T>
[[nodiscard]] BlendKernels<T> ScalarBlendKernels();

} // namespace kernels
