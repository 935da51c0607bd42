#pragma once

#include "hostkit/ArrayWorkspace.h"
#include "hostkit/PanLowPass.h"
#include "hostkit/RowSampler.h"

#include <memory>
#include <vector>

namespace hostkit {

/// Feeds a process with pan's low-pass, made window by window. One caller uses it at a time.
class LowPassFeed {
public:
    /// What describes an image.
    using RasterInfo = KOVA::Tessara::Pixmere::RasterInfo;

    /// `made` computes the low-pass; the workspace brings it onto the pan grid by `how`.
    LowPassFeed(std::shared_ptr<const PanLowPass> made, const RasterInfo& panInfo, Resampling how);

    /// Chooses the next window. Returns the pan pixels that Offer needs: the window and a margin as wide as
    /// the low-pass reaches.
    [[nodiscard]] PixelRect SetWindow(const PixelRect& window);
    /// Computes the low-pass of that window from `pan` and puts it into the workspace as the image
    /// `lowPassId`. `pan` covers what SetWindow returned. The samples belong to this object and stay until
    /// the next call.
    void Offer(const SampleBlock& pan, ArrayWorkspace& workspace);

private:
    std::shared_ptr<const PanLowPass> lowPass;
    RasterInfo panGrid;
    Resampling resampling;
    PixelRect rect;                      ///< the low-pass pixels that the window needs
    std::vector<unsigned short> samples; ///< read as bytes when the depth is 8 bits
    std::vector<unsigned char> valid;
};

} // namespace hostkit
