#pragma once

#include "rasterhost/fusing/FusionSlot.h"
#include "rasterhost/reading/ReadAhead.h"
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

/// Reads the windows of a scene ahead where inputs lie on a server.
class WindowsAhead {
public:
    explicit WindowsAhead(const WindowPlan& windows) : plan(windows), askedRow(windows.part.row0) {}

    /// Asks for what the next windows read, as far as there is room. The slot is not at work, and nobody else
    /// uses the images.
    void Ask(FusionSlot& slot);
    /// Returns when the bytes of the windows that begin at a row or above have come.
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

/// Fuses a scene window by window: windows are read in order, fused side by side and written in order, no
/// more of them at a time than there are slots. `progress` is called with the fraction done after each window
/// and may be empty. False when a stage failed, with the items of the first window that did, and when
/// `progress` returned false. No work is left under way when it returns.
[[nodiscard]] bool FuseWindows(const WindowPlan& plan, WindowsAhead& ahead,
                               std::vector<std::unique_ptr<FusionSlot>>& fusionSlots, OutputFile& output,
                               const std::function<bool(double)>& progress, PipelineResult& result,
                               Status& status);

} // namespace rasterhost
