#include "imagery/LimitTally.h"

#include <algorithm>
#include <array>
#include <limits>

namespace imagery {

namespace {

/// Counts whole groups of pixels, the samples of a group side by side, so that the compiler makes vectors;
/// it does not if it has to read the limits from memory. Returns how many pixels they are: all but a few of
/// the short stretches that rows come in.
template <class T>
std::size_t CountGroups(const T* row, std::size_t pixels, kernels::SampleLimits<T> limits,
                        LimitTally& tally) {
    constexpr std::size_t most = 64;
    const std::size_t groupPixels = most / tally.size(), samples = groupPixels * tally.size();
    if (groupPixels == 0) return 0;
    const auto groups = std::min<std::size_t>(pixels / groupPixels, std::numeric_limits<T>::max());
    std::array<T, most> least{}, greatest{}; // how many at each place
    for (std::size_t group = 0; group < groups; ++group, row += samples)
        for (std::size_t i = 0; i < samples; ++i) {
            const T sample = limits.Of(row[i]);
            least[i] = static_cast<T>(least[i] + (sample == 0 ? 1 : 0));
            greatest[i] = static_cast<T>(greatest[i] + (sample == limits.largest ? 1 : 0));
        }
    for (std::size_t i = 0; i < samples;)
        for (auto& [atLeast, atGreatest] : tally) {
            atLeast += least[i];
            atGreatest += greatest[i++];
        }
    return groups * groupPixels;
}

} // namespace

template <class T>
void CountLimits(const T* row, const unsigned char* valid, std::size_t pixels,
                 const kernels::SampleLimits<T>& limits, LimitTally& tally) {
    const std::size_t counted = valid ? 0 : CountGroups(row, pixels, limits, tally);
    row += counted * tally.size();
    for (std::size_t pixel = counted; pixel < pixels; ++pixel, row += tally.size()) {
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
