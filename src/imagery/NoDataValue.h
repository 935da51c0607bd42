#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <type_traits>

namespace imagery {

/// As ClearValues, for the value of one band, counted from 0.
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

/// As ClearValues, for four bands, of which a word holds a pixel.
template <class T>
void ClearFourValues(const T* samples, std::span<const std::optional<T>> values, std::size_t pixels,
                     unsigned char* valid) {
    using Word = std::conditional_t<sizeof(T) == 1, std::uint32_t, std::uint64_t>;
    constexpr Word ones = ~Word{0} / std::numeric_limits<T>::max(), tops = ones << (8 * sizeof(T) - 1);
    T wanted[4], ignored[4];
    for (std::size_t band = 0; band < 4; ++band) {
        wanted[band] = values[band].value_or(0);
        ignored[band] = values[band] ? T{0} : std::numeric_limits<T>::max();
    }
    Word wantedWord, ignoredWord;
    std::memcpy(&wantedWord, wanted, sizeof wanted);
    std::memcpy(&ignoredWord, ignored, sizeof ignored);
    for (std::size_t i = 0; i < pixels; ++i) {
        Word pixel;
        std::memcpy(&pixel, samples + 4 * i, sizeof pixel);
        const Word differs = (pixel ^ wantedWord) | ignoredWord; // 0 in a band with its value
        const bool hasZero = ((differs - ones) & ~differs & tops) != 0;
        valid[i] = hasZero ? static_cast<unsigned char>(0) : valid[i];
    }
}

/// Clears the mask bytes of pixels in which the sample of a band is the band's value for no data. `samples`
/// are interleaved by pixel; `values` has one entry per band; `valid` has one byte of 0 or 0xFF per pixel.
template <class T>
void ClearValues(const T* samples, std::span<const std::optional<T>> values, std::size_t pixels,
                 unsigned char* valid) {
    if (std::none_of(values.begin(), values.end(), [](const auto& value) { return value.has_value(); }))
        return;
    if (values.size() == 4) return ClearFourValues(samples, values, pixels, valid);
    for (std::size_t band = 0; band < values.size(); ++band)
        if (values[band]) ClearValue(samples, values.size(), band, pixels, *values[band], valid);
}

/// Sets the bytes of all pixels but those that ClearValues clears.
template <class T>
void FindValues(const T* samples, std::span<const std::optional<T>> values, std::size_t pixels,
                unsigned char* valid) {
    if (values.size() == 1 && values[0]) { // memory is written once
        std::transform(samples, samples + pixels, valid, [value = *values[0]](T sample) {
            return static_cast<unsigned char>(sample == value ? 0 : 0xFF);
        });
        return;
    }
    std::fill_n(valid, pixels, static_cast<unsigned char>(0xFF));
    ClearValues(samples, values, pixels, valid);
}

} // namespace imagery
