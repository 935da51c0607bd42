#include "imagery/RowValidity.h"

#include <algorithm>
#include <cstring>

namespace imagery {

const unsigned char* FindRowValidity(const hostkit::SampleBlock& pan, const hostkit::PixelRect& window,
                                     std::uint32_t row, std::span<hostkit::PlacedWindow* const> coarse,
                                     unsigned char* merged) {
    using hostkit::Reach;
    const std::size_t columns = window.GetColumns();
    const unsigned char* valid = pan.valid
                                     ? pan.valid + std::size_t{row - pan.rect.row0} * pan.rect.GetColumns() +
                                           (window.col0 - pan.rect.col0)
                                     : nullptr;
    if (valid && !std::memchr(valid, 0, columns)) valid = nullptr;
    for (hostkit::PlacedWindow* image : coarse) {
        const Reach* reach = image->FindReach(row - window.row0);
        if (!reach || !std::memchr(reach, static_cast<int>(Reach::None), columns)) continue;
        if (!valid) valid = static_cast<unsigned char*>(std::memset(merged, 0xFF, columns));
        std::transform(reach, reach + columns, valid, merged, [](Reach found, unsigned char has) {
            return found == Reach::None ? static_cast<unsigned char>(0) : has;
        });
        valid = merged;
    }
    return valid;
}

} // namespace imagery
