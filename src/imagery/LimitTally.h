#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace imagery {

/// Counts of samples at 0 and at the largest value, per band.
using LimitTally = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

/// True when any sample is 0 or the largest. Few samples are at a limit, and checking many together is fast.
template <class T>
[[nodiscard]] bool HasLimit(const T* samples, std::size_t count, T largest);

/// Adds the samples of a row, interleaved by pixel. `tally` has one entry per band.
template <class T>
void CountLimits(const T* row, std::size_t pixels, T largest, LimitTally& tally);

} // namespace imagery
