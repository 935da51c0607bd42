#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace support {

inline constexpr double infinity = std::numeric_limits<double>::infinity();

/// A heap block of this many random samples, in which the extremes are more frequent than by chance.
template <class T>
std::unique_ptr<T[]> RandomRow(std::size_t samples, std::mt19937& random) {
    auto row = std::make_unique<T[]>(samples);
    std::generate_n(row.get(), samples, [&] {
        const auto chance = random() % 8;
        return chance == 0 ? T{0} : chance == 1 ? std::numeric_limits<T>::max() : static_cast<T>(random());
    });
    return row;
}

/// Widths of rows, in pixels, around the sizes of the vectors and blocks that kernels use.
inline std::vector<std::size_t> KernelWidths() {
    std::vector<std::size_t> widths = {127, 128, 129, 133, 134, 255, 256, 257, 261, 262, 1000};
    for (std::size_t width = 0; width <= 67; ++width)
        widths.push_back(width);
    return widths;
}

/// Checks that `actual` equals `expected`; reports the first sample that differs.
template <class T>
void ExpectSameRow(const T* actual, const T* expected, std::size_t samples, const std::string& what) {
    const std::size_t at =
        static_cast<std::size_t>(std::mismatch(actual, actual + samples, expected).first - actual);
    if (at == samples) return;
    ADD_FAILURE() << what << ", " << sizeof(T) * 8 << " bits, sample " << at << " of " << samples << ": "
                  << +actual[at] << " for " << +expected[at];
}

} // namespace support
