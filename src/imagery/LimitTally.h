#pragma once

#include "kernels/LimitedRow.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace imagery {

/// Counts of samples at 0 and at the largest value, per band.
using LimitTally = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

/// Adds the samples of a row, interleaved by pixel, after the limits are applied. `valid` has one byte per
/// pixel, 0 for a pixel that is not counted, or is null to count all. `tally` has one entry per band, at
/// least one.
template <class T>
void CountLimits(const T* row, const unsigned char* valid, std::size_t pixels,
                 const kernels::SampleLimits<T>& limits, LimitTally& tally);

} // namespace imagery
