#include "kernels/AcrossPlan.h"

#include <limits>
#include <numeric>

namespace kernels {

namespace {

/// The period after which the fractions of the columns repeat.
struct AcrossPeriod {
    std::size_t columns = 0; ///< 0 if nothing repeats
    std::int64_t pixels = 0;
};

AcrossPeriod FindPeriod(std::span<const GridPosition> columns) {
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
bool AddPattern(std::span<const GridPosition> columns, std::size_t first, const AcrossTaps<V>& taps,
                AcrossPlan<V>& plan, std::uint32_t& source) {
    const std::size_t lanes = std::min<std::size_t>(plan.lanes, columns.size() * plan.bands - first);
    std::vector<std::int64_t> at(lanes);
    const std::size_t lookup = plan.lookups.size(), weight = plan.weights.size();
    plan.lookups.resize(lookup + plan.lanes);
    plan.weights.resize(weight + std::size_t{plan.lanes} * taps.count);
    std::vector<V> weights(taps.count);
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        const GridPosition& column = columns[(first + lane) / plan.bands];
        at[lane] = (column.index - columns[0].index) * plan.bands +
                   static_cast<std::int64_t>((first + lane) % plan.bands);
        taps.weigh(column, weights.data());
        for (std::size_t i = 0; i < weights.size(); ++i)
            plan.weights[weight + i * plan.lanes + lane] = weights[i];
    }
    const auto [least, most] = std::minmax_element(at.begin(), at.end());
    if (*least < 0 || *most - *least >= plan.lanes) return false;
    source = static_cast<std::uint32_t>(*least);
    for (std::size_t lane = 0; lane < lanes; ++lane)
        plan.lookups[lookup + lane] = static_cast<typename AcrossPlan<V>::Lane>(at[lane] - *least);
    return true;
}

} // namespace

template <class V>
std::optional<AcrossPlan<V>> MakeAcrossPlan(std::span<const GridPosition> columns, std::uint32_t bands,
                                            std::uint32_t lanes, const AcrossTaps<V>& taps) {
    const auto isBack = [](const GridPosition& a, const GridPosition& b) { return b.index < a.index; };
    if (columns.empty() || lanes == 0 ||
        std::adjacent_find(columns.begin(), columns.end(), isBack) != columns.end())
        return std::nullopt;
    const std::uint64_t pixels =
        static_cast<std::uint64_t>(columns.back().index - columns.front().index) + taps.count;
    constexpr std::uint64_t mostSamples = std::numeric_limits<std::uint32_t>::max();
    if (std::max<std::uint64_t>(pixels, columns.size()) * bands > mostSamples) return std::nullopt;
    AcrossPlan<V> plan{
        lanes, bands, taps.count, columns.front().index - taps.before, static_cast<std::uint32_t>(pixels),
        {},    {},    {}};
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
    const AcrossPeriod period = FindPeriod(columns);
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
            if (!AddPattern(columns, sampleOf(i), taps, plan, source)) return std::nullopt;
        } else {
            source = plan.vectors[pattern].source + static_cast<std::uint32_t>(i / repeat * moved);
        }
        plan.vectors.push_back({static_cast<std::uint32_t>(sampleOf(i)), source});
    }
    return plan;
}

template std::optional<AcrossPlan<double>> MakeAcrossPlan(std::span<const GridPosition>, std::uint32_t,
                                                          std::uint32_t, const AcrossTaps<double>&);
template std::optional<AcrossPlan<float>> MakeAcrossPlan(std::span<const GridPosition>, std::uint32_t,
                                                         std::uint32_t, const AcrossTaps<float>&);
template std::optional<AcrossPlan<std::int32_t>>
MakeAcrossPlan(std::span<const GridPosition>, std::uint32_t, std::uint32_t, const AcrossTaps<std::int32_t>&);

} // namespace kernels
