#pragma once

#include <cstdint>

namespace PXL {

/// The window of an image in its own coordinates; end values are exclusive.
class ImageWindowSupport {
public:
    std::uint32_t firstColumn = 0;
    std::uint32_t firstRow = 0;
    std::uint32_t endColumn = 0xFFFFFFFFu; ///< all ones: not set
    std::uint32_t endRow = 0xFFFFFFFFu;    ///< all ones: not set

protected:
    ~ImageWindowSupport() = default;
};

} // namespace PXL
