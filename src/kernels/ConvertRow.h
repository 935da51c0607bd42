#pragma once

#include "kernels/Simd.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace kernels {

/// Converts `pixels` pixels of three bands, interleaved by pixel. `out` must not overlap `in`.
template <class T>
using ConvertRow = void (*)(const T* in, T* out, std::size_t pixels);

/// The scalar definitions are in YuvRow.h and HsiRow.h.
enum class Conversion : std::uint8_t { RgbToYuv, YuvToRgb, RgbToHsi, HsiToRgb };

/// Picks one of the given rows, which stand in the order of the enumerators.
template <class T>
[[nodiscard]] inline ConvertRow<T> ChooseRow(Conversion conversion,
                                             const std::array<ConvertRow<T>, 4>& rows) {
    return rows[static_cast<std::size_t>(conversion)];
}

/// The version for a vector target that can run here.
template <class T>
[[nodiscard]] ConvertRow<T> ConvertRowFor(Conversion conversion, SimdTarget target);

} // namespace kernels
