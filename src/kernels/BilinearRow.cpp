#include "kernels/BilinearRow.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace kernels {

namespace {

double Blend(double a, double b, double fraction) { return a * (1.0 - fraction) + b * fraction; }

// With a band count known at compile time the inner loop is unrolled; N = 0 means any count.
template <class T, std::uint32_t N>
void Across(const T* source, const BilinearTap* taps, std::size_t pixels, std::uint32_t anyBands,
            double* out) {
    const std::uint32_t bands = N != 0 ? N : anyBands;
    for (std::size_t p = 0; p < pixels; ++p, out += bands) {
        const T* a = source + taps[p].first;
        const T* b = source + taps[p].second;
        for (std::uint32_t band = 0; band < bands; ++band)
            out[band] = Blend(a[band], b[band], taps[p].fraction);
    }
}

// The last word of a pixel may overlap the next pixel, which is written after it. N = 0 means any word count.
template <std::size_t N>
void BlendWords(const Word* source, const WholeTap* taps, std::size_t pixels, std::size_t anyWords,
                std::size_t pixelBytes, std::uint32_t steps, unsigned char* out) {
    const std::size_t words = N != 0 ? N : anyWords;
    for (std::size_t p = 0; p < pixels; ++p, out += pixelBytes) {
        const Word* a = source + taps[p].first;
        const Word* b = source + taps[p].second;
        for (std::size_t i = 0; i < words; ++i) {
            const Word blend = a[i] * (steps - taps[p].part) + b[i] * taps[p].part;
            std::memcpy(out + i * sizeof(Word), &blend, sizeof(Word));
        }
    }
}

} // namespace

BilinearTap ClampTap(const GridPosition& position, std::int64_t pixels) {
    const auto clamp = [pixels](std::int64_t index) {
        return static_cast<std::uint32_t>(std::clamp<std::int64_t>(index, 0, pixels - 1));
    };
    return {clamp(position.index), clamp(position.index + 1), position.fraction};
}

template <class T>
T BilinearSample(T a, T b, T c, T d, double fx, double fy) {
    return static_cast<T>(std::floor(Blend(Blend(a, b, fx), Blend(c, d, fx), fy) + 0.5));
}

std::uint32_t WholeSteps(std::span<const BilinearTap> taps) {
    constexpr std::uint32_t most = 16;
    std::uint32_t steps = 1;
    for (const BilinearTap& tap : taps)
        while (tap.fraction * steps != std::floor(tap.fraction * steps)) {
            if (steps == most) return 0;
            steps *= 2;
        }
    return steps;
}

template <class T>
AcrossRow<T> ChooseAcrossRow(std::uint32_t bands) {
    switch (bands) {
    case 1:
        return &Across<T, 1>;
    case 3:
        return &Across<T, 3>;
    case 4:
        return &Across<T, 4>;
    case 8:
        return &Across<T, 8>;
    default:
        return &Across<T, 0>;
    }
}

template <class T>
void SpreadRow(const T* source, std::size_t pixels, std::uint32_t bands, Word* out) {
    const std::size_t words = PixelWords<T>(bands);
    const bool isFull = bands * sizeof(WholeOf<T>) == words * sizeof(Word);
    if (isFull) {
        constexpr std::size_t samples = sizeof(Word) / sizeof(WholeOf<T>);
        for (std::size_t i = 0; i < pixels * words; ++i) {
            WholeOf<T> values[samples];
            std::copy_n(source + i * samples, samples, values);
            std::memcpy(out + i, values, sizeof(Word));
        }
        return;
    }
    std::vector<WholeOf<T>> pixel(words * sizeof(Word) / sizeof(WholeOf<T>));
    for (std::size_t p = 0; p < pixels; ++p) {
        std::copy_n(source + p * bands, bands, pixel.begin());
        std::memcpy(out + p * words, pixel.data(), words * sizeof(Word));
    }
}

template <class T>
void AcrossWhole(const Word* source, const WholeTap* taps, std::size_t pixels, std::uint32_t bands,
                 std::uint32_t steps, WholeOf<T>* out) {
    const std::size_t words = PixelWords<T>(bands);
    const std::size_t pixelBytes = bands * sizeof(WholeOf<T>);
    auto* bytes = reinterpret_cast<unsigned char*>(out);
    switch (words) {
    case 1:
        return BlendWords<1>(source, taps, pixels, words, pixelBytes, steps, bytes);
    case 2:
        return BlendWords<2>(source, taps, pixels, words, pixelBytes, steps, bytes);
    default:
        return BlendWords<0>(source, taps, pixels, words, pixelBytes, steps, bytes);
    }
}

template <class T>
void DownRowScalar(const double* upper, const double* lower, double fraction, std::size_t samples, T* out) {
    // Nothing here is negative, so truncation is floor. It goes through int, which vector units can convert
    // to.
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = static_cast<T>(static_cast<std::int32_t>(Blend(upper[i], lower[i], fraction) + 0.5));
}

template <class T>
void DownRowWholeScalar(const WholeOf<T>* upper, const WholeOf<T>* lower, std::uint32_t part,
                        std::uint32_t steps, std::uint32_t acrossSteps, std::size_t samples, T* out) {
    const std::uint32_t scale = steps * acrossSteps;
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = static_cast<T>((upper[i] * (steps - part) + lower[i] * part + scale / 2) / scale);
}

template unsigned char BilinearSample(unsigned char, unsigned char, unsigned char, unsigned char, double,
                                      double);
template unsigned short BilinearSample(unsigned short, unsigned short, unsigned short, unsigned short, double,
                                       double);
template AcrossRow<unsigned char> ChooseAcrossRow(std::uint32_t);
template AcrossRow<unsigned short> ChooseAcrossRow(std::uint32_t);
template void SpreadRow(const unsigned char*, std::size_t, std::uint32_t, Word*);
template void SpreadRow(const unsigned short*, std::size_t, std::uint32_t, Word*);
template void AcrossWhole<unsigned char>(const Word*, const WholeTap*, std::size_t, std::uint32_t,
                                         std::uint32_t, WholeOf<unsigned char>*);
template void AcrossWhole<unsigned short>(const Word*, const WholeTap*, std::size_t, std::uint32_t,
                                          std::uint32_t, WholeOf<unsigned short>*);
template void DownRowScalar(const double*, const double*, double, std::size_t, unsigned char*);
template void DownRowScalar(const double*, const double*, double, std::size_t, unsigned short*);
template void DownRowWholeScalar(const WholeOf<unsigned char>*, const WholeOf<unsigned char>*, std::uint32_t,
                                 std::uint32_t, std::uint32_t, std::size_t, unsigned char*);
template void DownRowWholeScalar(const WholeOf<unsigned short>*, const WholeOf<unsigned short>*,
                                 std::uint32_t, std::uint32_t, std::uint32_t, std::size_t, unsigned short*);

} // namespace kernels
