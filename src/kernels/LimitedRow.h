#pragma once

#include "kernels/Simd.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace kernels {

/// The values that samples of an output can have.
template <class T>
struct SampleLimits {
    T largest = std::numeric_limits<T>::max(); ///< greater samples become this
    T taken = 0;                               ///< a value that no sample may have
    T other = 0;                               ///< replaces it; equal to `taken` to replace nothing

    [[nodiscard]] T Of(T sample) const {
        const T limited = std::min(sample, largest);
        return limited == taken ? other : limited;
    }
    [[nodiscard]] bool IsAtEnd(T limited) const { return limited == 0 || limited == largest; }
};

/// Applies the limits to `count` samples. Writes exactly `count` to `out`, which must not overlap the input.
/// True when a written sample is 0 or the largest.
template <class T>
using LimitRow = bool (*)(const T* samples, std::size_t count, const SampleLimits<T>& limits, T* out);

/// The version for a vector target that can run here. The scalar one is the definition. With `pastCache` it
/// writes straight to memory: faster for an output that leaves the processor's cache before it is read again.
/// Call EndPastCache before another thread reads it.
template <class T>
[[nodiscard]] LimitRow<T> LimitRowFor(SimdTarget target, bool pastCache);

/// Waits until everything that this thread wrote past the cache is in memory.
void EndPastCache();

template <class T>
bool LimitRowScalar(const T* samples, std::size_t count, const SampleLimits<T>& limits, T* out) {
    bool isAtEnd = false;
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = limits.Of(samples[i]);
        isAtEnd = isAtEnd || limits.IsAtEnd(out[i]);
    }
    return isAtEnd;
}

} // namespace kernels
