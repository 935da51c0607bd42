#include "rasterhost/fitting/SceneFitBlocks.h"

#include "rasterhost/fitting/SceneSurvey.h"

#include <algorithm>
#include <utility>

namespace rasterhost {

namespace {

constexpr double panMargin = 2.0; // multispectral pixels of pan that are read around a block

} // namespace

SceneFitBlocks::SceneFitBlocks(const Scene& images, std::optional<int> sampleDepth,
                               std::function<bool()> whetherWanted)
    : scene(images), bitDepth(sampleDepth), isWanted(std::move(whetherWanted)) {}

std::size_t SceneFitBlocks::GetBands() const { return scene.CountBands(); }

std::array<double, 2> SceneFitBlocks::GetRatio() const {
    const auto& pan = scene.pan->GetInfo();
    const auto ms = scene.GetMultispectral().GetInfo();
    return {ms.pixelSizeX / pan.pixelSizeX, ms.pixelSizeY / pan.pixelSizeY};
}

hostkit::PixelRect SceneFitBlocks::GetArea() const { return FindAreaOnPan(scene); }

/// Asks for the chosen blocks, as far as there is room.
void SceneFitBlocks::AskAhead() const {
    for (; asked < chosen.size() && (step + asked == 0 || ahead.IsUsed()) && ahead.HasRoom(); ++asked)
        AskForBlock(scene, chosen[asked], panMargin, ahead, step + asked);
}

std::vector<hostkit::PixelRect> SceneFitBlocks::Choose(std::uint32_t blocks, std::uint32_t side) const {
    chosen = ChooseBlocks(scene, {blocks, side});
    asked = 0;
    AskAhead();
    return chosen;
}

bool SceneFitBlocks::Read(const hostkit::PixelRect& rect, FitBlock& block, Status& status) {
    if (!CheckWanted(isWanted, status)) return false;
    AskAhead();
    if (ahead.IsUsed()) {
        AskForBlock(scene, rect, panMargin, ahead, step); // blocks that were not chosen may be read too
        ahead.Wait(step);
    }
    ++step;
    if (!chosen.empty()) chosen.erase(chosen.begin());
    asked -= std::min<std::size_t>(asked, 1);
    SurveyBlock sample;
    if (!sample.ReadBands(scene, rect, bitDepth, status)) return false;
    block.rect = rect;
    block.bands = sample.GetBands();
    block.samples.assign(sample.GetSamples(0), sample.GetSamples(sample.GetCount()));
    block.usable.resize(sample.GetCount());
    for (std::size_t pixel = 0; pixel < block.usable.size(); ++pixel)
        block.usable[pixel] = sample.IsUsable(pixel) ? 1 : 0;
    block.onPan = sample.GetFootprint();
    if (!block.FindPan(scene.pan->GetInfo())) return true;
    SurveyedPixels pan;
    if (!ReadPixels(*scene.pan, block.panRect, bitDepth, pan, status)) return false;
    block.SetPan(std::move(pan.samples), std::move(pan.usable));
    return true;
}

} // namespace rasterhost
