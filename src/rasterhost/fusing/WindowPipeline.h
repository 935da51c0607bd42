#pragma once

#include "rasterhost/fusing/FusionSlot.h"
#include "rasterhost/reading/ReadAhead.h"
#include "rasterhost/writing/OutputFile.h"

#include <functional>
#include <memory>
#include <vector>

namespace rasterhost {

struct WindowPlan {
    hostkit::PixelRect part;      ///< the pan pixels to fuse
    std::uint32_t windowRows = 0; ///< rows per window; a window has all columns, and the last may have fewer
                                  ///< rows
    int threads = 1;
};

/// Reads the windows of a scene ahead if inputs are on a server.
class WindowsAhead {
public:
    explicit WindowsAhead(const WindowPlan& windows) : plan(windows), askedRow(windows.part.row0) {}

    /// Asks for what the next windows read, as far as there is room. The slot must be idle, and nobody else
    /// may use the images.
    void Ask(FusionSlot& slot);
    /// Waits until the bytes of the windows that begin at this row or above have arrived.
    void Wait(std::uint32_t row) {
        if (ahead.IsUsed()) ahead.Wait(row);
    }
    [[nodiscard]] hostkit::PixelRect WindowFrom(std::uint32_t row) const;

private:
    const WindowPlan plan;
    std::uint32_t askedRow;
    ReadAhead ahead{true};
};

struct PipelineResult {
    imagery::LimitTally tally;
    bool wasCancelled = false;
};

/// Fuses a scene window by window: windows are read in order, fused in parallel and written in order, at most
/// one per slot at a time. `progress` is called with the fraction done after each window; it may be empty.
/// False when a stage failed, with the items of the first window that failed, or when `progress` returned
/// false. When it returns, all threads have ended.
[[nodiscard]] bool FuseWindows(const WindowPlan& plan, WindowsAhead& ahead,
                               std::vector<std::unique_ptr<FusionSlot>>& fusionSlots, OutputFile& output,
                               const std::function<bool(double)>& progress, PipelineResult& result,
                               Status& status);

} // namespace rasterhost
