#pragma once

#include <cstddef>
#include <cstring>

namespace hostkit {

/// Copies `count` samples of type T. Strides are in bytes and may be negative; neither place need be aligned.
/// The memory must not overlap.
template <class T>
void CopyStrided(const unsigned char* source, std::ptrdiff_t sourceStride, unsigned char* target,
                 std::ptrdiff_t targetStride, std::size_t count) {
    constexpr auto one = static_cast<std::ptrdiff_t>(sizeof(T)), four = 4 * one;
    // memcpy compiles to a plain move. With strides known at compile time, those of the usual four bands, the
    // compiler makes vectors of it.
    const auto copy = [&](std::ptrdiff_t from, std::ptrdiff_t to) {
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(target + static_cast<std::ptrdiff_t>(i) * to,
                        source + static_cast<std::ptrdiff_t>(i) * from, sizeof(T));
    };
    if (sourceStride == four && targetStride == one)
        copy(four, one);
    else if (sourceStride == one && targetStride == four)
        copy(one, four);
    else
        copy(sourceStride, targetStride);
}

} // namespace hostkit
