#include "rasterhost/fitting/Shift.h"

#include "rasterhost/fitting/SceneFitBlocks.h"

#include <algorithm>

namespace rasterhost {

bool MeasureShift(const Scene& scene, std::optional<int> bitDepth, std::optional<Shift>& shift,
                  Status& status) {
    const auto& info = scene.GetMultispectral().image->GetInfo();
    SceneFitBlocks blocks(scene, bitDepth);
    return fitting::FitShift(blocks, std::min(info.cols, info.rows), shift, status);
}

} // namespace rasterhost
