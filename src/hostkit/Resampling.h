#pragma once

namespace hostkit {

/// How source samples are interpolated at the pixels of pan.
enum class Resampling {
    Bilinear, ///< kernels/BilinearRow.h
    Cubic     ///< kernels/CubicRow.h: convolution with a = -0.5, clamped at the edges
};

/// Its name in lower case, as in options.
[[nodiscard]] constexpr const char* NameOf(Resampling resampling) {
    return resampling == Resampling::Cubic ? "cubic" : "bilinear";
}

} // namespace hostkit
