#include "imagery/LimitTally.h"

namespace imagery {

template <class T>
void CountLimits(const T* row, const unsigned char* valid, std::size_t pixels,
                 const kernels::SampleLimits<T>& limits, LimitTally& tally) {
    for (std::size_t pixel = 0; pixel < pixels; ++pixel, row += tally.size()) {
        if (valid && valid[pixel] == 0) continue;
        for (std::size_t band = 0; band < tally.size(); ++band) {
            const T sample = limits.Of(row[band]);
            tally[band].first += sample == 0;
            tally[band].second += sample == limits.largest;
        }
    }
}

template void CountLimits(const unsigned char*, const unsigned char*, std::size_t,
                          const kernels::SampleLimits<unsigned char>&, LimitTally&);
template void CountLimits(const unsigned short*, const unsigned char*, std::size_t,
                          const kernels::SampleLimits<unsigned short>&, LimitTally&);

} // namespace imagery
