#include "kernels/BilinearRow.h"

#include <algorithm>
#include <cmath>

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

std::optional<AcrossPlan<float>> MakeWholePlan(std::span<const GridPosition> columns, std::uint32_t bands,
                                               std::uint32_t lanes, std::uint32_t steps) {
    const auto weigh = [steps](const GridPosition& column, float* weights) {
        const std::uint32_t part = StepsOf(column.fraction, steps);
        weights[0] = static_cast<float>(steps - part);
        weights[1] = static_cast<float>(part);
    };
    return MakeAcrossPlan<float>(columns, bands, lanes, {0, 2, weigh});
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
    const auto whole = [](WholeOf<T> value) { return static_cast<std::uint32_t>(value); };
    for (std::size_t i = 0; i < samples; ++i)
        out[i] =
            static_cast<T>((whole(upper[i]) * (steps - part) + whole(lower[i]) * part + scale / 2) / scale);
}

template unsigned char BilinearSample(unsigned char, unsigned char, unsigned char, unsigned char, double,
                                      double);
template unsigned short BilinearSample(unsigned short, unsigned short, unsigned short, unsigned short, double,
                                       double);
template AcrossRow<unsigned char> ChooseAcrossRow(std::uint32_t);
template AcrossRow<unsigned short> ChooseAcrossRow(std::uint32_t);
template void DownRowScalar(const double*, const double*, double, std::size_t, unsigned char*);
template void DownRowScalar(const double*, const double*, double, std::size_t, unsigned short*);
template void DownRowWholeScalar(const WholeOf<unsigned char>*, const WholeOf<unsigned char>*, std::uint32_t,
                                 std::uint32_t, std::uint32_t, std::size_t, unsigned char*);
template void DownRowWholeScalar(const WholeOf<unsigned short>*, const WholeOf<unsigned short>*,
                                 std::uint32_t, std::uint32_t, std::uint32_t, std::size_t, unsigned short*);

} // namespace kernels
