#include "imagery/RowValidity.h"

#include <cstring>

namespace imagery {

void FindRowValidity(const hostkit::SampleBlock& pan, const hostkit::PixelRect& window, std::uint32_t row,
                     std::span<hostkit::PlacedWindow* const> coarse, hostkit::Reach* reach,
                     unsigned char* valid) {
    const std::size_t columns = window.GetColumns();
    if (pan.valid)
        std::memcpy(valid,
                    pan.valid + std::size_t{row - pan.rect.row0} * pan.rect.GetColumns() +
                        (window.col0 - pan.rect.col0),
                    columns);
    else
        std::memset(valid, 0xFF, columns);
    for (hostkit::PlacedWindow* image : coarse)
        if (image->FindReach(row - window.row0, reach))
            for (std::size_t column = 0; column < columns; ++column)
                valid[column] = reach[column] == hostkit::Reach::None ? 0 : valid[column];
}

} // namespace imagery
