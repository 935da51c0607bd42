#pragma once

#include <algorithm>
#include <cmath>

namespace rasterhost {

/// Maps samples of any type to 16 bits: `least` to 1 and `greatest` to 65535; values beyond are limited to
/// these. 0 means no data.
struct SampleScale {
    double least = 0.0;
    double greatest = 1.0;

    static constexpr double steps = 65534.0;
    /// A sample is `offset + step * its 16 bits`.
    [[nodiscard]] double Step() const { return (greatest - least) / steps; }
    [[nodiscard]] double Offset() const { return least - Step(); }

    [[nodiscard]] unsigned short Map(double sample) const {
        const double share = std::clamp((sample - least) / (greatest - least), 0.0, 1.0);
        return static_cast<unsigned short>(1.0 + std::floor(share * steps + 0.5));
    }
};

} // namespace rasterhost
