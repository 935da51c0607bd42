#include "imagery/OutputRow.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace imagery {

namespace {

/// True when some sample was perhaps changed.
template <class T>
bool LimitSamples(T* samples, std::size_t count, const OutputRules& rules) {
    const auto largest = static_cast<T>(rules.largest);
    const bool isLimited = largest != std::numeric_limits<T>::max();
    if (isLimited)
        for (std::size_t i = 0; i < count; ++i)
            samples[i] = std::min(samples[i], largest);
    if (!rules.noData) return isLimited;
    const auto taken = static_cast<T>(*rules.noData);
    const auto other = static_cast<T>(taken >= largest ? taken - 1 : taken + 1);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = samples[i] == taken ? other : samples[i];
    return true;
}

/// Where pixels end that have data, or have none, as the first of them.
std::size_t EndOfRun(const unsigned char* valid, std::size_t first, std::size_t columns) {
    if (!valid) return columns;
    const unsigned char* begin = valid + first;
    if (*begin != 0) {
        const auto* gap = static_cast<const unsigned char*>(std::memchr(begin, 0, columns - first));
        return gap ? static_cast<std::size_t>(gap - valid) : columns;
    }
    const auto hasData = [](unsigned char has) { return has != 0; };
    return static_cast<std::size_t>(std::find_if(begin, valid + columns, hasData) - valid);
}

/// Makes room for the last band and fills it.
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
    for (std::size_t first = 0, end = 0; first < columns; first = end) {
        const bool isValid = !valid || valid[first] != 0;
        end = EndOfRun(valid, first, columns);
        T* run = out + first * bands;
        const std::size_t count = (end - first) * bands;
        if (isValid) {
            std::copy_n(fused + first * bands, count, run);
            // The fused row is still in the processor's cache; rows of tiles lie far apart.
            const T* counted = LimitSamples(run, count, rules) ? run : fused + first * bands;
            CountLimits(counted, end - first, static_cast<T>(rules.largest), tally);
        } else {
            std::fill_n(run, count, none);
        }
    }
    if (rules.hasAlpha) AddAlpha(valid, columns, bands, out);
}

template void MakeOutputRow(const unsigned char*, const unsigned char*, std::size_t, const OutputRules&,
                            unsigned char*, LimitTally&);
template void MakeOutputRow(const unsigned short*, const unsigned char*, std::size_t, const OutputRules&,
                            unsigned short*, LimitTally&);

} // namespace imagery
