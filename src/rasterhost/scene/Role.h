#pragma once

namespace rasterhost {

/// What an image is to the process.
enum class Role {
    Multispectral, ///< bands that are fused
    Infrared       ///< one band that takes part in the simulated pan only
};

} // namespace rasterhost
