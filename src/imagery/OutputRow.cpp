#include "imagery/OutputRow.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace imagery {

namespace {

template <class T>
kernels::SampleLimits<T> LimitsOf(const OutputRules& rules) {
    kernels::SampleLimits<T> limits{static_cast<T>(rules.largest)};
    if (!rules.noData) return limits;
    limits.taken = static_cast<T>(*rules.noData);
    limits.other = static_cast<T>(limits.taken >= limits.largest ? limits.taken - 1 : limits.taken + 1);
    return limits;
}

template <class T>
const kernels::LimitRows<T>& ChooseLimitRows(bool pastCache) {
    static const kernels::LimitRows<T> chosen[] = {
        kernels::LimitRowsFor<T>(kernels::ChosenSimdTarget(), false),
        kernels::LimitRowsFor<T>(kernels::ChosenSimdTarget(), true)};
    return chosen[pastCache ? 1 : 0];
}

/// Samples of pixels that are processed together.
constexpr std::size_t stretchSamples = 512;
/// As many samples fill whole vectors, so stretches of as many pixels begin where vectors may be written past
/// the cache.
constexpr std::size_t vectorSamples = 64;

/// A row of which no pixel was fused.
template <class T>
void FillRow(const unsigned char* valid, std::size_t columns, const OutputRules& rules, T none, T* out) {
    const std::size_t bands = rules.GetFileBands();
    std::fill_n(out, columns * bands, none);
    for (std::size_t column = 0; rules.hasAlpha && column < columns; ++column)
        out[column * bands + rules.bands] =
            valid && valid[column] == 0 ? T{0} : std::numeric_limits<T>::max();
}

} // namespace

template <class T>
void MakeOutputRow(const T* fused, const unsigned char* valid, std::size_t columns, const OutputRules& rules,
                   T* out, LimitTally& tally) {
    const std::size_t bands = rules.bands;
    const auto none = static_cast<T>(rules.noData.value_or(0));
    const kernels::SampleLimits<T> limits = LimitsOf<T>(rules);
    const kernels::LimitRows<T>& limit = ChooseLimitRows<T>(rules.pastCache);
    if (!fused) FillRow(valid, columns, rules, none, out);
    const std::size_t vectors = std::max<std::size_t>(stretchSamples / (vectorSamples * bands), 1);
    const std::size_t stretch = vectors * vectorSamples;
    for (std::size_t first = 0; fused && first < columns; first += stretch) {
        const std::size_t count = std::min(stretch, columns - first);
        const T* samples = fused + first * bands;
        // Most stretches of a row with gaps have none.
        const unsigned char* has = valid && std::memchr(valid + first, 0, count) ? valid + first : nullptr;
        T* made = out + first * rules.GetFileBands();
        const kernels::GappedRow<T> row{samples, has, count, rules.bands, none};
        // Few samples are at a limit, and checking many together is fast.
        if (rules.hasAlpha ? limit.spread(row, limits, made)
            : has          ? limit.gapped(row, limits, made)
                           : limit.whole(samples, count * bands, limits, made))
            CountLimits(samples, has, count, limits, tally);
    }
}

template void MakeOutputRow(const unsigned char*, const unsigned char*, std::size_t, const OutputRules&,
                            unsigned char*, LimitTally&);
template void MakeOutputRow(const unsigned short*, const unsigned char*, std::size_t, const OutputRules&,
                            unsigned short*, LimitTally&);

} // namespace imagery
