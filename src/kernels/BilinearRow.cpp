#include "kernels/BilinearRow.h"

#include <algorithm>
#include <cmath>

namespace kernels {

namespace {

double Blend(double a, double b, double fraction) { return a * (1.0 - fraction) + b * fraction; }

// A band count known to the compiler unrolls the inner loop; 0 stands for any.
template <class T, class V, std::uint32_t N>
void Across(const T* source, const BilinearTap* taps, std::size_t pixels, std::uint32_t anyBands,
            [[maybe_unused]] std::uint32_t steps, V* out) {
    const std::uint32_t bands = N != 0 ? N : anyBands;
    for (std::size_t p = 0; p < pixels; ++p) {
        const T* a = source + taps[p].first;
        const T* b = source + taps[p].second;
        if constexpr (std::is_same_v<V, double>) {
            const double fraction = taps[p].fraction;
            for (std::uint32_t band = 0; band < bands; ++band)
                out[band] = Blend(a[band], b[band], fraction);
        } else {
            const auto part = static_cast<std::uint32_t>(taps[p].fraction * steps);
            for (std::uint32_t band = 0; band < bands; ++band)
                out[band] = static_cast<V>(a[band] * (steps - part) + b[band] * part);
        }
        out += bands;
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

template <class T, class V>
AcrossRow<T, V> ChooseAcrossRow(std::uint32_t bands) {
    switch (bands) {
    case 1:
        return &Across<T, V, 1>;
    case 3:
        return &Across<T, V, 3>;
    case 4:
        return &Across<T, V, 4>;
    case 8:
        return &Across<T, V, 8>;
    default:
        return &Across<T, V, 0>;
    }
}

template <class T>
void DownRowScalar(const double* upper, const double* lower, double fraction, std::size_t samples, T* out) {
    // Nothing here is negative, so truncation is floor; by way of int, which vector units convert to.
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
template AcrossRow<unsigned char, double> ChooseAcrossRow(std::uint32_t);
template AcrossRow<unsigned short, double> ChooseAcrossRow(std::uint32_t);
template AcrossRow<unsigned char, WholeOf<unsigned char>> ChooseAcrossRow(std::uint32_t);
template AcrossRow<unsigned short, WholeOf<unsigned short>> ChooseAcrossRow(std::uint32_t);
template void DownRowScalar(const double*, const double*, double, std::size_t, unsigned char*);
template void DownRowScalar(const double*, const double*, double, std::size_t, unsigned short*);
template void DownRowWholeScalar(const WholeOf<unsigned char>*, const WholeOf<unsigned char>*, std::uint32_t,
                                 std::uint32_t, std::uint32_t, std::size_t, unsigned char*);
template void DownRowWholeScalar(const WholeOf<unsigned short>*, const WholeOf<unsigned short>*,
                                 std::uint32_t, std::uint32_t, std::uint32_t, std::size_t, unsigned short*);

} // namespace kernels
