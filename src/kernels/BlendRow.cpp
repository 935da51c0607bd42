#include "kernels/BlendRow.h"

#include "kernels/Store.h"

#include <algorithm>
#include <cstdlib>

namespace kernels {

MapsOfRow::MapsOfRow(std::span<const LinearMap> ofBands) {
    for (std::size_t i = 0; !ofBands.empty() && i < ofBands.size() + mostLanesOfMaps - 1; ++i) {
        const LinearMap& map = ofBands[i % ofBands.size()];
        gains.push_back(map.gain);
        offsets.push_back(map.offset);
    }
}

template <class T>
BlendMaps<T>::BlendMaps(SampleBlend sampleBlend, std::span<const LinearMap> ofInput1,
                        std::span<const LinearMap> ofInput2, std::span<const LinearMap> ofOutput)
    : blend(sampleBlend), input1(ofInput1), input2(ofInput2), output(ofOutput),
      filtered(sampleBlend, ofInput1, ofInput2, ofOutput) {}

namespace {

template <class T, class Formula>
void ForEachSample(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                   const BlendMaps<T>& maps, const Formula& formula) {
    for (std::size_t p = 0; p < pixels; ++p, row1 += bands, row2 += bands, out += bands)
        for (std::uint32_t c = 0; c < bands; ++c)
            out[c] = formula(row1[c], row2[c], maps.input1.OfBand(c), maps.input2.OfBand(c),
                             maps.output.OfBand(c));
}

template <class T>
void BlendScalar(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                 const BlendMaps<T>& maps) {
    using Map = LinearMap;
    const auto forEach = [&](const auto& formula) {
        ForEachSample(row1, row2, out, pixels, bands, maps, formula);
    };
    switch (maps.blend) {
    case SampleBlend::Sum:
        return forEach([](double a, double b, const Map& m1, const Map& m2, const Map& m) {
            return StoreTruncatedFinite<T>(m(m1(a) + m2(b)));
        });
    case SampleBlend::Product:
        return forEach([](double a, double b, const Map& m1, const Map& m2, const Map& m) {
            return StoreTruncatedFinite<T>(m(m2(b) * m1(a)));
        });
    case SampleBlend::Quotient:
        return forEach([](double a, double b, const Map& m1, const Map& m2, const Map& m) {
            return StoreTruncatedFinite<T>(m(m1(a) / m2(b)));
        });
    case SampleBlend::Difference:
        return forEach([](double a, double b, const Map& m1, const Map& m2, const Map& m) {
            return StoreRounded<T>(m(m1(a) - m2(b)));
        });
    case SampleBlend::PlainDifference:
        return forEach([](double a, double b, const Map&, const Map&, const Map& m) {
            return StoreRounded<T>(m(a - b));
        });
    }
}

template <class T>
void LargestDifferenceScalar(const T* row1, const T* row2, T* out, std::size_t pixels, std::uint32_t bands,
                             const LinearMap& output) {
    for (std::size_t p = 0; p < pixels; ++p, row1 += bands, row2 += bands) {
        int largest = 0;
        for (std::uint32_t c = 0; c < bands; ++c)
            largest = std::max(largest, std::abs(row1[c] - row2[c]));
        out[p] = StoreRounded<T>(output(largest));
    }
}

template <class T>
void MaskScalar(const T* row1, const T* mask, T* out, std::size_t pixels, std::uint32_t bands,
                std::uint32_t value, const T* color) {
    for (std::size_t p = 0; p < pixels; ++p, row1 += bands, out += bands)
        std::copy_n(mask[p] == value ? color : row1, bands, out);
}

template <class T>
void MergeScalar(const T* row1, std::uint32_t bands1, const T* row2, std::uint32_t bands2, T* out,
                 std::size_t pixels) {
    for (std::size_t p = 0; p < pixels; ++p, row1 += bands1, row2 += bands2)
        out = std::copy_n(row2, bands2, std::copy_n(row1, bands1, out));
}

template <class T>
void AddToFirstScalar(T* row1, const T* row2, std::size_t pixels, const LinearMap& map1,
                      const LinearMap& map2) {
    for (std::size_t p = 0; p < pixels; ++p)
        row1[3 * p] = StoreRounded<T>(map2(row2[p]) + map1(row1[3 * p]));
}

} // namespace

template <class T>
BlendKernels<T> ScalarBlendKernels() {
    return {.samples = &BlendScalar<T>,
            .largestDifference = &LargestDifferenceScalar<T>,
            .mask = &MaskScalar<T>,
            .merge = &MergeScalar<T>,
            .addToFirst = &AddToFirstScalar<T>};
}

template struct BlendMaps<unsigned char>;
template struct BlendMaps<unsigned short>;
template BlendKernels<unsigned char> ScalarBlendKernels();
template BlendKernels<unsigned short> ScalarBlendKernels();

} // namespace kernels
