#pragma once

#include <algorithm>
#include <cstddef>

namespace imagery {

/// Clears the mask bytes of pixels whose sample in one band, counted from 0, is the value for no data.
/// `samples` are interleaved by pixel; `valid` has one byte of 0 or 0xFF per pixel.
template <class T>
void ClearValue(const T* samples, std::size_t bands, std::size_t band, std::size_t pixels, T value,
                unsigned char* valid) {
    if (bands == 1) { // contiguous, so that the compiler makes vectors
        std::transform(samples, samples + pixels, valid, valid, [value](T sample, unsigned char has) {
            return sample == value ? static_cast<unsigned char>(0) : has;
        });
        return;
    }
    for (std::size_t i = 0; i < pixels; ++i)
        valid[i] =
            static_cast<unsigned char>(valid[i] & -static_cast<int>(samples[i * bands + band] != value));
}

} // namespace imagery
