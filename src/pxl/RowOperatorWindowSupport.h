#pragma once

#include <algorithm>
#include <cstdint>

namespace PXL {

/// The columns that a row operator works on.
class RowOperatorWindowSupport {
public:
    std::uint32_t firstColumn = 0;
    std::uint32_t endColumn = 0xFFFFFFFFu; ///< exclusive; all ones means up to the end of the row

protected:
    /// What every operator's SetWindow does: an end of 0 means the end of the row, and both values are
    /// limited to the output's columns. If the result is empty, the whole row is taken.
    void SetColumns(std::uint32_t first, std::uint32_t end, std::uint32_t outputColumns) {
        firstColumn = std::min(first, outputColumns);
        endColumn = end == 0 ? outputColumns : std::min(end, outputColumns);
        if (firstColumn < endColumn) return;
        firstColumn = 0;
        endColumn = outputColumns;
    }
    ~RowOperatorWindowSupport() = default;
};

} // namespace PXL
