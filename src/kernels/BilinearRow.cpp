#include "kernels/BilinearRow.h"

#include <algorithm>
#include <cmath>

namespace kernels {

namespace {

double Blend(double a, double b, double fraction) { return a * (1.0 - fraction) + b * fraction; }

// A band count known to the compiler unrolls the inner loop; 0 stands for any.
template <class T, std::uint32_t N>
void Across(const T* source, const BilinearTap* taps, std::size_t pixels, std::uint32_t anyBands,
            double* out) {
    const std::uint32_t bands = N != 0 ? N : anyBands;
    for (std::size_t p = 0; p < pixels; ++p) {
        const T* a = source + taps[p].first;
        const T* b = source + taps[p].second;
        const double fraction = taps[p].fraction;
        for (std::uint32_t band = 0; band < bands; ++band)
            out[band] = Blend(a[band], b[band], fraction);
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
void DownRow(const double* upper, const double* lower, double fraction, std::size_t samples, T* out) {
    // Nothing here is negative, so truncation is floor; by way of int, which vector units convert to.
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = static_cast<T>(static_cast<std::int32_t>(Blend(upper[i], lower[i], fraction) + 0.5));
}

template unsigned char BilinearSample(unsigned char, unsigned char, unsigned char, unsigned char, double,
                                      double);
template unsigned short BilinearSample(unsigned short, unsigned short, unsigned short, unsigned short, double,
                                       double);
template AcrossRow<unsigned char> ChooseAcrossRow(std::uint32_t);
template AcrossRow<unsigned short> ChooseAcrossRow(std::uint32_t);
template void DownRow(const double*, const double*, double, std::size_t, unsigned char*);
template void DownRow(const double*, const double*, double, std::size_t, unsigned short*);

} // namespace kernels
