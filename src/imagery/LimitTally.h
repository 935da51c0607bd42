#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace imagery {

/// Samples at 0 and at the largest value, for each band.
using LimitTally = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

/// True when a sample is 0 or the largest: at a limit are few, and many samples looked at together cost
/// least.
template <class T>
[[nodiscard]] bool HasLimit(const T* samples, std::size_t count, T largest);

/// Adds the samples of a row, interleaved by pixel; `tally` has an entry for each band.
template <class T>
void CountLimits(const T* row, std::size_t pixels, T largest, LimitTally& tally);

} // namespace imagery
