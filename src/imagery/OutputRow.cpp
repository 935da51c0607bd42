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
kernels::LimitRow<T> ChooseLimitRow(bool pastCache) {
    static const kernels::LimitRow<T> chosen[] = {kernels::LimitRowFor<T>(kernels::ChosenSimdTarget(), false),
                                                  kernels::LimitRowFor<T>(kernels::ChosenSimdTarget(), true)};
    return chosen[pastCache ? 1 : 0];
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
    const kernels::SampleLimits<T> limits = LimitsOf<T>(rules);
    const kernels::LimitRow<T> limitRow = ChooseLimitRow<T>(rules.pastCache && !rules.hasAlpha);
    const kernels::LimitRow<T> limitGapped = ChooseLimitRow<T>(false);
    for (std::size_t first = 0, end = 0; first < columns; first = end) {
        end = std::min(first + stretchPixels, columns);
        std::size_t gap = valid ? FindGap(valid, first, end) : end;
        if (gap == first && FindData(valid, first, end) == end) {
            std::fill_n(out + first * bands, (end - first) * bands, none);
            continue;
        }
        // Few samples are at a limit, and checking many together is fast.
        const bool isCounted = (gap == end ? limitRow : limitGapped)(
            fused + first * bands, (end - first) * bands, limits, out + first * bands);
        for (std::size_t data = first; data < end; gap = FindGap(valid, data, end)) {
            if (isCounted) CountLimits(fused + data * bands, gap - data, limits, tally);
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
