#include "imagery/OutputRow.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace imagery {

namespace {

/// True when a sample may have been changed.
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

/// Pixels that are processed together.
constexpr std::size_t stretchPixels = 128;

/// The first pixel from `first` on without data, or the end.
std::size_t FindGap(const unsigned char* valid, std::size_t first, std::size_t end) {
    const void* gap = first < end ? std::memchr(valid + first, 0, end - first) : nullptr;
    return gap ? static_cast<std::size_t>(static_cast<const unsigned char*>(gap) - valid) : end;
}

/// The first pixel from `first` on with data, or the end.
std::size_t FindData(const unsigned char* valid, std::size_t first, std::size_t end) {
    while (first < end && valid[first] == 0)
        ++first;
    return first;
}

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
    const auto largest = static_cast<T>(rules.largest);
    for (std::size_t first = 0, end = 0; first < columns; first = end) {
        end = valid ? std::min(first + stretchPixels, columns) : columns;
        std::size_t gap = valid ? FindGap(valid, first, end) : end;
        if (gap == first && FindData(valid, first, end) == end) {
            std::fill_n(out + first * bands, (end - first) * bands, none);
            continue;
        }
        const std::size_t count = (end - first) * bands;
        std::copy_n(fused + first * bands, count, out + first * bands);
        // The fused row is still in the processor's cache; the rows of tiles lie far apart.
        const T* counted = LimitSamples(out + first * bands, count, rules) ? out : fused;
        if (gap == end) {
            CountLimits(counted + first * bands, end - first, largest, tally);
            continue;
        }
        const bool isCounted = HasLimit(counted + first * bands, count, largest);
        for (std::size_t data = first; data < end; gap = FindGap(valid, data, end)) {
            if (isCounted) CountLimits(counted + data * bands, gap - data, largest, tally);
            data = FindData(valid, gap, end);
            std::fill_n(out + gap * bands, (data - gap) * bands, none);
        }
    }
    if (rules.hasAlpha) AddAlpha(valid, columns, bands, out);
}

template void MakeOutputRow(const unsigned char*, const unsigned char*, std::size_t, const OutputRules&,
                            unsigned char*, LimitTally&);
template void MakeOutputRow(const unsigned short*, const unsigned char*, std::size_t, const OutputRules&,
                            unsigned short*, LimitTally&);

} // namespace imagery
