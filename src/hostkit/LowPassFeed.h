#pragma once

#include "hostkit/ArrayWorkspace.h"
#include "hostkit/PanLowPass.h"
#include "hostkit/RowSampler.h"

#include <memory>
#include <vector>

namespace hostkit {

/// Feeds a process with pan's low-pass, made for one window after another. Used by one caller at a time.
class LowPassFeed {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    /// `made` makes the low-pass; the workspace brings it onto the grid of pan by `how`.
    LowPassFeed(std::shared_ptr<const PanLowPass> made, const RasterInfo& panInfo, Resampling how);

    /// Chooses the next window. The pan pixels that it takes: the window, and around it as far as the
    /// low-pass reaches.
    [[nodiscard]] PixelRect SetWindow(const PixelRect& window);
    /// Makes the low-pass of that window from `pan`, which covers what SetWindow told, and puts it into the
    /// workspace as the image `lowPassId`. It stays there until the next call.
    void Offer(const SampleBlock& pan, ArrayWorkspace& workspace);

private:
    std::shared_ptr<const PanLowPass> lowPass;
    RasterInfo panGrid;
    Resampling resampling;
    PixelRect rect;                      ///< of the low-pass, that the window takes
    std::vector<unsigned short> samples; ///< read as bytes when the depth is 8 bits
    std::vector<unsigned char> valid;
};

} // namespace hostkit
