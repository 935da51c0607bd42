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

template <class T>
void CubicDown(const std::array<const double*, 4>& rows, const std::array<double, 4>& weights,
               std::size_t samples, T* out) {
    const auto [a, b, c, d] = rows;
    constexpr double largest = std::numeric_limits<T>::max();
    for (std::size_t i = 0; i < samples; ++i) {
        const double sum = a[i] * weights[0] + b[i] * weights[1] + c[i] * weights[2] + d[i] * weights[3];
        const double rounded = std::min(std::max(sum + 0.5, 0.0), largest);
        out[i] = static_cast<T>(static_cast<std::int32_t>(rounded)); // not negative: truncation is floor
    }
}

template <class V>
std::array<V, 4> CubicWeights(const CubicTap& tap, std::uint32_t scale) {
    std::array<V, 4> weights{};
    std::transform(tap.weights.begin(), tap.weights.end(), weights.begin(), [scale](double weight) {
        const double scaled = weight * scale;
        return static_cast<V>(std::is_integral_v<V> ? std::round(scaled) : scaled);
    });
    return weights;
}

template <class V>
std::optional<AcrossPlan<V>> MakeCubicPlan(std::span<const GridPosition> columns, std::uint32_t bands,
                                           std::uint32_t lanes, std::uint32_t scale) {
    const auto weigh = [scale](const GridPosition& column, V* weights) {
        const auto made = CubicWeights<V>(MakeCubicTap(column, 1), scale);
        std::copy(made.begin(), made.end(), weights);
    };
    return MakeAcrossPlan<V>(columns, bands, lanes, {1, 4, weigh});
}

template void CubicAcross(const unsigned char*, const CubicTap*, std::size_t, std::uint32_t, double*);
template void CubicAcross(const unsigned short*, const CubicTap*, std::size_t, std::uint32_t, double*);
template void CubicDown(const std::array<const double*, 4>&, const std::array<double, 4>&, std::size_t,
                        unsigned char*);
template void CubicDown(const std::array<const double*, 4>&, const std::array<double, 4>&, std::size_t,
                        unsigned short*);
template std::array<double, 4> CubicWeights(const CubicTap&, std::uint32_t);
template std::array<float, 4> CubicWeights(const CubicTap&, std::uint32_t);
template std::array<std::int32_t, 4> CubicWeights(const CubicTap&, std::uint32_t);
template std::optional<AcrossPlan<double>> MakeCubicPlan(std::span<const GridPosition>, std::uint32_t,
                                                         std::uint32_t, std::uint32_t);
template std::optional<AcrossPlan<float>> MakeCubicPlan(std::span<const GridPosition>, std::uint32_t,
                                                        std::uint32_t, std::uint32_t);
template std::optional<AcrossPlan<std::int32_t>> MakeCubicPlan(std::span<const GridPosition>, std::uint32_t,
                                                               std::uint32_t, std::uint32_t);

} // namespace kernels
