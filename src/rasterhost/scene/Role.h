#pragma once

namespace rasterhost {

/// The role of an image in the process.
enum class Role {
    Multispectral, ///< bands that are fused
    Infrared       ///< one band that takes part only in the simulated pan
};

} // namespace rasterhost
