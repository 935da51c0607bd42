#include "imagery/RowValidity.h"

#include <cstring>

namespace imagery {

bool FindRowValidity(const hostkit::SampleBlock& pan, const hostkit::PixelRect& window, std::uint32_t row,
                     std::span<hostkit::PlacedWindow* const> coarse, hostkit::Reach* reach,
                     unsigned char* valid) {
    const std::size_t columns = window.GetColumns();
    const unsigned char* panValid = pan.valid ? pan.valid +
                                                    std::size_t{row - pan.rect.row0} * pan.rect.GetColumns() +
                                                    (window.col0 - pan.rect.col0)
                                              : nullptr;
    bool lacksData = panValid && std::memchr(panValid, 0, columns);
    if (lacksData) std::memcpy(valid, panValid, columns);
    for (hostkit::PlacedWindow* image : coarse) {
        if (!image->FindReach(row - window.row0, reach)) continue;
        if (!lacksData) std::memset(valid, 0xFF, columns);
        lacksData = true;
        for (std::size_t column = 0; column < columns; ++column)
            valid[column] = reach[column] == hostkit::Reach::None ? 0 : valid[column];
    }
    return lacksData && std::memchr(valid, 0, columns);
}

} // namespace imagery
