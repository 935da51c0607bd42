#include "rasterhost/LimitTally.h"

#include <algorithm>

namespace rasterhost {

template <class T>
void CountLimits(const T* row, std::size_t pixels, T largest, LimitTally& tally) {
    constexpr std::size_t stretch = 64; // pixels looked at together: limits are rare
    const std::size_t bands = tally.size();
    for (std::size_t first = 0; first < pixels; first += stretch) {
        const T* samples = row + first * bands;
        const std::size_t count = std::min(stretch, pixels - first) * bands;
        T found = 0;
        for (std::size_t i = 0; i < count; ++i)
            found = static_cast<T>(found | static_cast<T>(samples[i] == 0) |
                                   static_cast<T>(samples[i] == largest));
        if (!found) continue;
        for (std::size_t i = 0; i < count; i += bands)
            for (std::size_t band = 0; band < bands; ++band) {
                tally[band].first += samples[i + band] == 0;
                tally[band].second += samples[i + band] == largest;
            }
    }
}

template void CountLimits(const unsigned char*, std::size_t, unsigned char, LimitTally&);
template void CountLimits(const unsigned short*, std::size_t, unsigned short, LimitTally&);

} // namespace rasterhost
