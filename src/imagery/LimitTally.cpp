#include "imagery/LimitTally.h"

namespace imagery {

template <class T>
void CountLimits(const T* row, std::size_t pixels, const kernels::SampleLimits<T>& limits,
                 LimitTally& tally) {
    const std::size_t bands = tally.size();
    for (std::size_t i = 0; i < pixels * bands; i += bands)
        for (std::size_t band = 0; band < bands; ++band) {
            const T sample = limits.Of(row[i + band]);
            tally[band].first += sample == 0;
            tally[band].second += sample == limits.largest;
        }
}

template void CountLimits(const unsigned char*, std::size_t, const kernels::SampleLimits<unsigned char>&,
                          LimitTally&);
template void CountLimits(const unsigned short*, std::size_t, const kernels::SampleLimits<unsigned short>&,
                          LimitTally&);

} // namespace imagery
