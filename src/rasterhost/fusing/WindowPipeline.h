#pragma once

#include "rasterhost/fusing/FusionSlot.h"
#include "rasterhost/writing/OutputFile.h"

#include <functional>
#include <memory>
#include <vector>

namespace rasterhost {

struct WindowPlan {
    hostkit::PixelRect part;      ///< of pan, to fuse
    std::uint32_t windowRows = 0; ///< of a window, which has all columns; the last may have fewer
    int threads = 1;
};

struct PipelineResult {
    imagery::LimitTally tally;
    bool wasCancelled = false;
};

/// Fuses a scene window by window: windows are read in order, fused side by side and written in order, no
/// more of them at a time than there are slots. `progress` is called with the fraction done after each window
/// and may be empty. False when a stage failed, with the items of the first window that did, and when
/// `progress` returned false. Nothing is under way any more when it returns.
[[nodiscard]] bool FuseWindows(const WindowPlan& plan, std::vector<std::unique_ptr<FusionSlot>>& fusionSlots,
                               OutputFile& output, const std::function<bool(double)>& progress,
                               PipelineResult& result, Status& status);

} // namespace rasterhost
