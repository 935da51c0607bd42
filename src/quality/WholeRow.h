#pragma once

#include <cstddef>

namespace quality {

/// A row of two images of whole numbers, in a plane per band, `stride` samples apart.
struct WholeRow {
    const unsigned short* image;
    const unsigned short* reference;
    std::size_t stride;
};

} // namespace quality
