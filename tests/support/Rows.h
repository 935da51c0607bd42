#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <random>

namespace support {

/// A heap block of exactly this many random samples, the extremes among them more often than by chance.
template <class T>
std::unique_ptr<T[]> RandomRow(std::size_t samples, std::mt19937& random) {
    auto row = std::make_unique<T[]>(samples);
    std::generate_n(row.get(), samples, [&] {
        const auto chance = random() % 8;
        return chance == 0 ? T{0} : chance == 1 ? std::numeric_limits<T>::max() : static_cast<T>(random());
    });
    return row;
}

} // namespace support
