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

/// Spreads the pixels to make room for a last band and fills it.
template <class T>
void AddAlpha(const unsigned char* valid, std::size_t columns, std::size_t bands, T* row) {
    for (std::size_t column = columns; column-- > 0;) {
        T* pixel = row + column * (bands + 1);
        std::memmove(pixel, row + column * bands, bands * sizeof(T));
        pixel[bands] = valid && valid[column] == 0 ? T{0} : std::numeric_limits<T>::max();
    }
}

} // namespace

template <class T>
void MakeOutputRow(const T* fused, const unsigned char* valid, std::size_t columns, const OutputRules& rules,
                   T* out, LimitTally& tally) {
    const std::size_t bands = rules.bands;
    const auto none = static_cast<T>(rules.noData.value_or(0));
    const kernels::SampleLimits<T> limits = LimitsOf<T>(rules);
    const kernels::LimitRows<T>& limit = ChooseLimitRows<T>(rules.pastCache && !rules.hasAlpha);
    if (!fused) std::fill_n(out, columns * bands, none);
    const std::size_t vectors = std::max<std::size_t>(stretchSamples / (vectorSamples * bands), 1);
    const std::size_t stretch = vectors * vectorSamples;
    for (std::size_t first = 0; fused && first < columns; first += stretch) {
        const std::size_t count = std::min(stretch, columns - first);
        const T* samples = fused + first * bands;
        const unsigned char* has = valid ? valid + first : nullptr;
        T* made = out + first * bands;
        // Few samples are at a limit, and checking many together is fast.
        if (has ? limit.gapped({samples, has, count, rules.bands, none}, limits, made)
                : limit.whole(samples, count * bands, limits, made))
            CountLimits(samples, has, count, limits, tally);
    }
    if (rules.hasAlpha) AddAlpha(valid, columns, bands, out);
}

template void MakeOutputRow(const unsigned char*, const unsigned char*, std::size_t, const OutputRules&,
                            unsigned char*, LimitTally&);
template void MakeOutputRow(const unsigned short*, const unsigned char*, std::size_t, const OutputRules&,
                            unsigned short*, LimitTally&);

} // namespace imagery
