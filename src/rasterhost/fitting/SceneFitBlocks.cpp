#include "rasterhost/fitting/SceneFitBlocks.h"

#include "rasterhost/fitting/SceneSurvey.h"

#include <utility>

namespace rasterhost {

namespace {

constexpr double panMargin = 2.0; // multispectral pixels, as pan is read around a block

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

std::vector<hostkit::PixelRect> SceneFitBlocks::Choose(std::uint32_t blocks, std::uint32_t side) const {
    std::vector<hostkit::PixelRect> chosen = ChooseBlocks(scene, {blocks, side});
    for (std::size_t i = 0; i < chosen.size() && (i == 0 || ahead.IsUsed()) && ahead.HasRoom(); ++i)
        AskForBlock(scene, chosen[i], panMargin, ahead, ++step);
    return chosen;
}

bool SceneFitBlocks::Read(const hostkit::PixelRect& rect, FitBlock& block, Status& status) {
    if (!CheckWanted(isWanted, status)) return false;
    if (ahead.IsUsed()) {
        AskForBlock(scene, rect, panMargin, ahead, ++step);
        ahead.Wait(step);
    }
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
