#pragma once

#include <cstddef>

namespace kernels {

/// Converts `pixels` pixels of three bands, interleaved by pixel. `out` does not overlap `in`.
template <class T>
using ConvertRow = void (*)(const T* in, T* out, std::size_t pixels);

} // namespace kernels
