#include "kernels/CubicRow.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace kernels {

CubicTap MakeCubicTap(const GridPosition& position, std::int64_t pixels) {
    CubicTap tap;
    for (std::size_t i = 0; i < tap.at.size(); ++i)
        tap.at[i] = static_cast<std::uint32_t>(
            std::clamp<std::int64_t>(position.index - 1 + static_cast<std::int64_t>(i), 0, pixels - 1));
    const double t = position.fraction;
    tap.weights = {((-0.5 * t + 1.0) * t - 0.5) * t, (1.5 * t - 2.5) * t * t + 1.0,
                   ((-1.5 * t + 2.0) * t + 0.5) * t, (0.5 * t - 0.5) * t * t};
    return tap;
}

template <class T>
void CubicAcross(const T* source, const CubicTap* taps, std::size_t pixels, std::uint32_t bands,
                 double* out) {
    for (std::size_t p = 0; p < pixels; ++p) {
        const auto& [at, w] = taps[p];
        for (std::uint32_t band = 0; band < bands; ++band)
            *out++ = source[at[0] + band] * w[0] + source[at[1] + band] * w[1] + source[at[2] + band] * w[2] +
                     source[at[3] + band] * w[3];
    }
}

template <class T, class V>
void CubicDown(const std::array<const V*, 4>& rows, const std::array<V, 4>& weights, std::size_t samples,
               T* out) {
    const auto [a, b, c, d] = rows;
    constexpr auto largest = std::numeric_limits<T>::max();
    for (std::size_t i = 0; i < samples; ++i) {
        if constexpr (std::is_same_v<V, double>) {
            const double sum = a[i] * weights[0] + b[i] * weights[1] + c[i] * weights[2] + d[i] * weights[3];
            const double rounded = std::min(std::max(sum + 0.5, 0.0), double{largest});
            out[i] = static_cast<T>(static_cast<std::int32_t>(rounded)); // not negative: truncation is floor
        } else {
            const auto product = [i](const V* row, V weight) { return std::int64_t{row[i]} * weight; };
            const std::int64_t sum = product(a, weights[0]) + product(b, weights[1]) +
                                     product(c, weights[2]) + product(d, weights[3]);
            constexpr int bits = 2 * cubicStepBits;
            const std::int64_t rounded = (sum + (std::int64_t{1} << (bits - 1))) >> bits;
            out[i] = static_cast<T>(std::clamp<std::int64_t>(rounded, 0, largest));
        }
    }
}

bool HasWholeSteps(std::span<const CubicTap> taps) {
    constexpr double steps = 1 << cubicStepBits;
    return std::all_of(taps.begin(), taps.end(), [](const CubicTap& tap) {
        return std::all_of(tap.weights.begin(), tap.weights.end(),
                           [](double weight) { return weight * steps == std::floor(weight * steps); });
    });
}

template <class V>
std::array<V, 4> CubicWeights(const CubicTap& tap) {
    constexpr double steps = std::is_same_v<V, double> ? 1.0 : 1 << cubicStepBits;
    std::array<V, 4> weights{};
    std::transform(tap.weights.begin(), tap.weights.end(), weights.begin(),
                   [](double weight) { return static_cast<V>(weight * steps); });
    return weights;
}

template <class T, class V>
void SpreadCubic(const T* source, std::size_t pixels, std::uint32_t bands, V* out) {
    const std::size_t pixel = CubicPixel(bands);
    if (bands == pixel) {
        std::copy_n(source, pixels * bands, out);
        return;
    }
    for (std::size_t p = 0; p < pixels; ++p)
        std::fill_n(std::copy_n(source + p * bands, bands, out + p * pixel), pixel - bands, V{0});
}

template <class V>
void CubicAcrossRowScalar(const V* source, const SpreadCubicTap<V>* taps, std::size_t pixels,
                          std::uint32_t bands, V* out) {
    for (std::size_t p = 0; p < pixels; ++p) {
        const auto& [at, w] = taps[p];
        for (std::uint32_t band = 0; band < bands; ++band)
            *out++ = source[at[0] + band] * w[0] + source[at[1] + band] * w[1] + source[at[2] + band] * w[2] +
                     source[at[3] + band] * w[3];
    }
}

template void CubicAcross(const unsigned char*, const CubicTap*, std::size_t, std::uint32_t, double*);
template void CubicAcross(const unsigned short*, const CubicTap*, std::size_t, std::uint32_t, double*);

template void CubicDown(const std::array<const double*, 4>&, const std::array<double, 4>&, std::size_t,
                        unsigned char*);
template void CubicDown(const std::array<const std::int32_t*, 4>&, const std::array<std::int32_t, 4>&,
                        std::size_t, unsigned char*);
template void CubicDown(const std::array<const double*, 4>&, const std::array<double, 4>&, std::size_t,
                        unsigned short*);
template void CubicDown(const std::array<const std::int32_t*, 4>&, const std::array<std::int32_t, 4>&,
                        std::size_t, unsigned short*);
template void SpreadCubic(const unsigned char*, std::size_t, std::uint32_t, double*);
template void SpreadCubic(const unsigned char*, std::size_t, std::uint32_t, std::int32_t*);
template void SpreadCubic(const unsigned short*, std::size_t, std::uint32_t, double*);
template void SpreadCubic(const unsigned short*, std::size_t, std::uint32_t, std::int32_t*);
template std::array<double, 4> CubicWeights(const CubicTap&);
template std::array<std::int32_t, 4> CubicWeights(const CubicTap&);
template void CubicAcrossRowScalar(const double*, const SpreadCubicTap<double>*, std::size_t, std::uint32_t,
                                   double*);
template void CubicAcrossRowScalar(const std::int32_t*, const SpreadCubicTap<std::int32_t>*, std::size_t,
                                   std::uint32_t, std::int32_t*);

} // namespace kernels
