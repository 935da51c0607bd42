#include "imagery/LimitTally.h"

#include <algorithm>

namespace imagery {

namespace {

template <class T>
void CountEach(const T* samples, std::size_t count, T largest, LimitTally& tally) {
    const std::size_t bands = tally.size();
    for (std::size_t i = 0; i < count; i += bands)
        for (std::size_t band = 0; band < bands; ++band) {
            tally[band].first += samples[i + band] == 0;
            tally[band].second += samples[i + band] == largest;
        }
}

} // namespace

template <class T>
bool HasLimit(const T* samples, std::size_t count, T largest) {
    T least = largest;
    T most = 0;
    for (std::size_t i = 0; i < count; ++i) {
        least = std::min(least, samples[i]);
        most = std::max(most, samples[i]);
    }
    return least == 0 || most == largest;
}

template <class T>
void CountLimits(const T* row, std::size_t pixels, T largest, LimitTally& tally) {
    constexpr std::size_t stretch = 128;
    const std::size_t bands = tally.size();
    for (std::size_t first = 0; first < pixels; first += stretch) {
        const T* samples = row + first * bands;
        const std::size_t count = std::min(stretch, pixels - first) * bands;
        if (HasLimit(samples, count, largest)) CountEach(samples, count, largest, tally);
    }
}

template bool HasLimit(const unsigned char*, std::size_t, unsigned char);
template bool HasLimit(const unsigned short*, std::size_t, unsigned short);
template void CountLimits(const unsigned char*, std::size_t, unsigned char, LimitTally&);
template void CountLimits(const unsigned short*, std::size_t, unsigned short, LimitTally&);

} // namespace imagery
