#pragma once

#include "quality/Comparison.h"
#include "rasterhost/RowSource.h"
#include "rasterhost/Scene.h"

#include <algorithm>
#include <initializer_list>

namespace rasterhost {

/// Calls `function` with the first and end row of one strip after another until it returns false.
template <class Function>
bool ForStrips(const RowSource& rows, const Function& function) {
    const std::uint32_t strip = ChooseStrip(std::uint64_t{rows.GetColumns()} * rows.GetBands());
    for (std::uint32_t row = 0; row < rows.GetRows(); row += strip)
        if (!function(row, std::min(row + strip, rows.GetRows()))) return false;
    return true;
}

/// All indices of an image against a reference of the same size where both have data. False with an item when
/// one cannot be read.
[[nodiscard]] bool CompareRows(RowSource& image, RowSource& reference, double ratio,
                               quality::ReferenceIndices& found, Status& status);

/// Bytes of GDAL's block cache in which images are read strip by strip without reading a block twice; null
/// pointers count for nothing.
[[nodiscard]] std::int64_t StripCache(std::initializer_list<const InputImage*> images);

/// Checks that the grids of a pair run along each other, as degrading them takes. False with an item.
[[nodiscard]] bool CheckGrids(const Scene& scene, Status& status);

} // namespace rasterhost
