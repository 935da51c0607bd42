#include "kernels/CubicRow.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>
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

bool HasWholeSteps(std::span<const CubicTap> taps) {
    constexpr double steps = 1 << cubicStepBits;
    return std::all_of(taps.begin(), taps.end(), [](const CubicTap& tap) {
        return std::all_of(tap.weights.begin(), tap.weights.end(),
                           [](double weight) { return weight * steps == std::floor(weight * steps); });
    });
}

template <class V>
std::array<V, 4> CubicWeights(const CubicTap& tap) {
    constexpr double steps = std::is_same_v<V, std::int32_t> ? 1 << cubicStepBits : 1;
    std::array<V, 4> weights{};
    std::transform(tap.weights.begin(), tap.weights.end(), weights.begin(),
                   [](double weight) { return static_cast<V>(weight * steps); });
    return weights;
}

namespace {

/// The period after which the fractions of the columns repeat.
struct CubicPeriod {
    std::size_t columns = 0; ///< 0 if nothing repeats
    std::int64_t pixels = 0;
};

CubicPeriod FindPeriod(std::span<const GridPosition> columns) {
    constexpr std::size_t longest = 64;
    for (std::size_t period = 1; period <= longest && period < columns.size(); ++period) {
        const std::int64_t pixels = columns[period].index - columns[0].index;
        const auto repeats = [&](const GridPosition& later, const GridPosition& earlier) {
            return later.fraction == earlier.fraction && later.index - earlier.index == pixels;
        };
        if (std::equal(columns.begin() + static_cast<std::ptrdiff_t>(period), columns.end(), columns.begin(),
                       columns.end() - static_cast<std::ptrdiff_t>(period), repeats))
            return {period, pixels};
    }
    return {};
}

/// Adds the pattern of the vector that begins at sample `first`, and sets where its source begins.
template <class V>
bool AddPattern(std::span<const GridPosition> columns, std::size_t first, CubicPlan<V>& plan,
                std::uint32_t& source) {
    const std::size_t lanes = std::min<std::size_t>(plan.lanes, columns.size() * plan.bands - first);
    std::vector<std::int64_t> at(lanes);
    const std::size_t lookup = plan.lookups.size(), weight = plan.weights.size();
    plan.lookups.resize(lookup + plan.lanes);
    plan.weights.resize(weight + plan.lanes * std::tuple_size_v<decltype(CubicTap::at)>);
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        const GridPosition& column = columns[(first + lane) / plan.bands];
        at[lane] = (column.index - columns[0].index) * plan.bands +
                   static_cast<std::int64_t>((first + lane) % plan.bands);
        const auto weights = CubicWeights<V>(MakeCubicTap(column, 1));
        for (std::size_t i = 0; i < weights.size(); ++i)
            plan.weights[weight + i * plan.lanes + lane] = weights[i];
    }
    const auto [least, most] = std::minmax_element(at.begin(), at.end());
    if (*least < 0 || *most - *least >= plan.lanes) return false;
    source = static_cast<std::uint32_t>(*least);
    for (std::size_t lane = 0; lane < lanes; ++lane)
        plan.lookups[lookup + lane] = static_cast<typename CubicPlan<V>::Lane>(at[lane] - *least);
    return true;
}

} // namespace

template <class V>
std::optional<CubicPlan<V>> MakeCubicPlan(std::span<const GridPosition> columns, std::uint32_t bands,
                                          std::uint32_t lanes) {
    const auto isBack = [](const GridPosition& a, const GridPosition& b) { return b.index < a.index; };
    if (columns.empty() || lanes == 0 ||
        std::adjacent_find(columns.begin(), columns.end(), isBack) != columns.end())
        return std::nullopt;
    CubicPlan<V> plan{lanes,
                      bands,
                      columns.front().index - 1,
                      static_cast<std::uint32_t>(columns.back().index - columns.front().index + 4),
                      {},
                      {},
                      {}};
    // If a vector holds all bands of a pixel, vectors follow each other without a gap. Otherwise each pixel
    // begins a new vector, and its last vector ends with the pixel.
    const std::size_t ofPixel = bands <= lanes ? 0 : (bands + lanes - 1) / lanes;
    const auto sampleOf = [=](std::size_t vector) {
        return ofPixel == 0 ? vector * lanes
                            : vector / ofPixel * bands +
                                  std::min<std::size_t>(vector % ofPixel * lanes, bands - lanes);
    };
    const std::size_t count =
        ofPixel == 0 ? (columns.size() * bands + lanes - 1) / lanes : columns.size() * ofPixel;
    const CubicPeriod period = FindPeriod(columns);
    // Patterns repeat when whole vectors fill whole periods.
    const std::size_t samples = period.columns * bands;
    const std::size_t repeat = samples == 0   ? count
                               : ofPixel == 0 ? std::lcm(samples, std::size_t{lanes}) / lanes
                                              : period.columns * ofPixel;
    const std::size_t moved =
        samples == 0 ? 0 : sampleOf(repeat) / samples * static_cast<std::size_t>(period.pixels) * bands;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t pattern = i % repeat;
        std::uint32_t source = 0;
        if (i == pattern) {
            if (!AddPattern(columns, sampleOf(i), plan, source)) return std::nullopt;
        } else {
            source = plan.vectors[pattern].source + static_cast<std::uint32_t>(i / repeat * moved);
        }
        plan.vectors.push_back({static_cast<std::uint32_t>(sampleOf(i)), source});
    }
    return plan;
}

template void CubicAcross(const unsigned char*, const CubicTap*, std::size_t, std::uint32_t, double*);
template void CubicAcross(const unsigned short*, const CubicTap*, std::size_t, std::uint32_t, double*);
template void CubicDown(const std::array<const double*, 4>&, const std::array<double, 4>&, std::size_t,
                        unsigned char*);
template void CubicDown(const std::array<const double*, 4>&, const std::array<double, 4>&, std::size_t,
                        unsigned short*);
template std::array<double, 4> CubicWeights(const CubicTap&);
template std::array<float, 4> CubicWeights(const CubicTap&);
template std::array<std::int32_t, 4> CubicWeights(const CubicTap&);
template std::optional<CubicPlan<double>> MakeCubicPlan(std::span<const GridPosition>, std::uint32_t,
                                                        std::uint32_t);
template std::optional<CubicPlan<float>> MakeCubicPlan(std::span<const GridPosition>, std::uint32_t,
                                                       std::uint32_t);
template std::optional<CubicPlan<std::int32_t>> MakeCubicPlan(std::span<const GridPosition>, std::uint32_t,
                                                              std::uint32_t);

} // namespace kernels
