#include "hostkit/LowPassFeed.h"

#include "hostkit/AxisPlacement.h"
#include "hostkit/WindowWorker.h"

#include <algorithm>
#include <utility>

namespace hostkit {

LowPassFeed::LowPassFeed(std::shared_ptr<const PanLowPass> made, const RasterInfo& panInfo, Resampling how)
    : lowPass(std::move(made)), panGrid(panInfo), resampling(how) {}

PixelRect LowPassFeed::SetWindow(const PixelRect& window) {
    rect = AxisPlacement(panGrid, lowPass->GetInfo()).FindSource(window, resampling);
    const PixelRect needed = lowPass->PanRect(rect);
    return {std::min(window.col0, needed.col0), std::min(window.row0, needed.row0),
            std::max(window.col1, needed.col1), std::max(window.row1, needed.row1)};
}

void LowPassFeed::Offer(const SampleBlock& pan, ArrayWorkspace& workspace) {
    const RasterInfo& info = lowPass->GetInfo();
    const std::size_t pixels = std::size_t{rect.GetColumns()} * rect.GetRows();
    samples.resize(std::max(samples.size(), pixels));
    valid.resize(std::max(valid.size(), pixels));
    auto* bytes = reinterpret_cast<unsigned char*>(samples.data());
    const bool lacks = lowPass->Compute(pan, rect, bytes, valid.data());
    const SampleBlock block{bytes, rect.GetColumns() * PixelBytes(info), rect,
                            lacks ? valid.data() : nullptr};
    workspace.SetImage(lowPassId, {info, block, resampling});
}

} // namespace hostkit
