#pragma once

#include "imagery/RowSource.h"
#include "quality/Comparison.h"

#include <memory>

namespace imagery {

/// Rows per part when two images are compared. All callers use it, so all get the same sums.
inline constexpr std::uint32_t comparedRows = 2 * quality::blockSide;

/// An image and a reference of the same size, read by one thread.
struct ComparedRows {
    std::unique_ptr<RowSource> image, reference;
    SampleRows samples, truth;
};

/// Compares rows `first` to `end` - 1 where both have data. Null, with an item, when one cannot be read.
[[nodiscard]] std::unique_ptr<quality::Comparison> ComparePart(ComparedRows& rows, std::uint32_t first,
                                                               std::uint32_t end, Status& status);

} // namespace imagery
