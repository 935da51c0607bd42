#pragma once

#include "kernels/Simd.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
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

/// Pixels, interleaved, some of which may lack data.
template <class T>
struct GappedRow {
    const T* samples = nullptr;
    /// One byte per pixel, 0 without data. For `spread` only, may be null.
    const unsigned char* valid = nullptr;
    std::size_t pixels = 0;
    std::uint32_t bands = 0;
    T none = 0; ///< written for samples without data
};

/// Apply the limits to samples. They write exactly as many to `out`, which must not overlap the input. True
/// when a written sample with data is 0 or the largest.
template <class T>
struct LimitRows {
    bool (*whole)(const T* samples, std::size_t count, const SampleLimits<T>& limits, T* out) = nullptr;
    bool (*gapped)(const GappedRow<T>& row, const SampleLimits<T>& limits, T* out) = nullptr;
    /// Also adds a last band, which counts as no sample: 0 without data, else the greatest value of T.
    bool (*spread)(const GappedRow<T>& row, const SampleLimits<T>& limits, T* out) = nullptr;
};

/// The versions for a vector target that can run here. The scalar ones are the definition. With `pastCache`
/// they write straight to memory: faster for an output that leaves the processor's cache before it is read
/// again. Call EndPastCache before another thread reads it.
template <class T>
[[nodiscard]] LimitRows<T> LimitRowsFor(SimdTarget target, bool pastCache);

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

/// The samples `first` to `end` - 1 of a row. `out` is where sample 0 goes.
template <class T>
bool LimitGappedSamples(const GappedRow<T>& row, std::size_t first, std::size_t end,
                        const SampleLimits<T>& limits, T* out) {
    bool isAtEnd = false;
    std::size_t pixel = first / row.bands, band = first % row.bands;
    for (std::size_t i = first; i < end; ++i) {
        const bool hasData = row.valid[pixel] != 0;
        out[i] = hasData ? limits.Of(row.samples[i]) : row.none;
        isAtEnd = isAtEnd || (hasData && limits.IsAtEnd(out[i]));
        if (++band == row.bands) band = 0, ++pixel;
    }
    return isAtEnd;
}

template <class T>
bool LimitGappedScalar(const GappedRow<T>& row, const SampleLimits<T>& limits, T* out) {
    return LimitGappedSamples(row, 0, row.pixels * row.bands, limits, out);
}

/// The samples `first` to `end` - 1 of a row with a last band added. `out` is where sample 0 goes.
template <class T>
bool LimitSpreadSamples(const GappedRow<T>& row, std::size_t first, std::size_t end,
                        const SampleLimits<T>& limits, T* out) {
    bool isAtEnd = false;
    std::size_t pixel = first / (row.bands + 1), band = first % (row.bands + 1);
    for (std::size_t i = first; i < end; ++i) {
        const bool hasData = !row.valid || row.valid[pixel] != 0;
        if (band == row.bands) {
            out[i] = hasData ? std::numeric_limits<T>::max() : T{0};
            band = 0, ++pixel;
            continue;
        }
        out[i] = hasData ? limits.Of(row.samples[pixel * row.bands + band]) : row.none;
        isAtEnd = isAtEnd || (hasData && limits.IsAtEnd(out[i]));
        ++band;
    }
    return isAtEnd;
}

template <class T>
bool LimitSpreadScalar(const GappedRow<T>& row, const SampleLimits<T>& limits, T* out) {
    return LimitSpreadSamples(row, 0, row.pixels * (row.bands + 1), limits, out);
}

} // namespace kernels
