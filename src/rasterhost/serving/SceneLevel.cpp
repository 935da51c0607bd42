#include "rasterhost/serving/SceneLevel.h"

#include "hostkit/Coarsening.h"
#include "hostkit/RequestRecord.h"
#include "rasterhost/writing/OutputFormat.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

constexpr double sizeNoise = 1e-6; // of georeferencing

/// How far an image can be reduced so that its pixels stay no larger than those of a level of pan.
unsigned ReductionFor(const RasterInfo& pan, const RasterInfo& image, unsigned panLevel) {
    const double ratio = std::max(image.pixelSizeX / pan.pixelSizeX, image.pixelSizeY / pan.pixelSizeY);
    const double size = static_cast<double>(1u << panLevel) * (1.0 + sizeNoise);
    unsigned level = 0;
    while (ratio * static_cast<double>(2u << level) <= size)
        ++level;
    return level;
}

/// The pixels of a level, counted from the corner of a part, that overlap a rectangle.
PixelRect OnLevel(const PixelRect& rect, const PixelRect& part, unsigned level) {
    return hostkit::CoarseRect(
        {rect.col0 - part.col0, rect.row0 - part.row0, rect.col1 - part.col0, rect.row1 - part.row0}, level);
}

} // namespace

SceneLevel::SceneLevel(const OpenPair& openPair, const Fusion& fusion, unsigned levelNumber)
    : pair(openPair), level(levelNumber), part(openPair.GetScene().part),
      covered(openPair.GetScene().covered), settings(fusion.settings), isPlain(fusion.isPlain) {
    if (isPlain) settings.lowPass = nullptr;
    const Scene& scene = pair.GetScene();
    for (std::size_t position = 0; position < scene.images.size(); ++position)
        AddImage(position, settings.bands);
    if (level == 0) return;
    part = OnLevel(scene.part, scene.part, level);
    covered = OnLevel(scene.covered, scene.part, level);
    if (!settings.lowPass) return;
    const RasterInfo& pan = scene.pan->GetInfo();
    const RasterInfo multispectral = scene.GetMultispectral().GetInfo();
    const double size = static_cast<double>(1u << level) * (1.0 + sizeNoise);
    isPlain = pan.pixelSizeX * size >= multispectral.pixelSizeX &&
              pan.pixelSizeY * size >= multispectral.pixelSizeY;
    settings.lowPass = isPlain ? nullptr
                               : std::make_shared<hostkit::PanLowPass>(settings.lowPass->On(
                                     hostkit::CoarseInfo(pan, scene.part, level), multispectral));
}

/// Of an image with more bands than take part, only the first are used.
void SceneLevel::AddImage(std::size_t position, std::size_t keptBands) {
    const Scene& scene = pair.GetScene();
    const PlacedImage& image = scene.images[position];
    CoarseImage added{position + 1, image.image->GetDescription(), 0, nullptr, image.bands, image.role};
    if (image.role == Role::Multispectral)
        std::erase_if(added.bands, [&](std::size_t band) { return band >= keptBands; });
    if (added.bands.empty()) return;
    if (added.bands.size() < image.bands.size()) {
        std::vector<std::size_t> order(added.bands.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        added.description = std::make_shared<const ImageDescription>(added.description->WithBands(order));
    }
    if (level > 0) {
        added.level = ReductionFor(scene.pan->GetInfo(), image.GetInfo(), level);
        added.placement = image.placement->Coarsen({scene.part, level, added.level});
    } else {
        added.placement = {std::shared_ptr<void>(), image.placement.get()}; // owned by the scene
    }
    coarse.push_back(std::move(added));
}

/// The images of a slot, owned by it.
FusionSources SceneLevel::MakeSources(Slot& slot) const {
    const Scene& scene = pair.GetScene();
    const auto add = [&](std::size_t position, const auto& description, const PixelRect& partOfIt,
                         unsigned reduction, ReducedStore* store) {
        slot.images.push_back(std::make_unique<LevelImage>(description, partOfIt, reduction, store));
        slot.readers.push_back(position);
        return slot.images.back().get();
    };
    FusionSources sources{add(0, scene.pan->GetDescription(), scene.part, level, &pair.GetStore(0)),
                          {},
                          part,
                          covered,
                          scene.resampling,
                          static_cast<std::uint32_t>(settings.bands),
                          isPlain};
    for (const CoarseImage& image : coarse) {
        // The store has all bands.
        const bool hasAll = image.bands.size() == scene.images[image.reader - 1].bands.size();
        sources.coarse.push_back(
            {add(image.reader, image.description, hostkit::WholeImage(image.description->info), image.level,
                 hasAll ? &pair.GetStore(image.reader) : nullptr),
             image.placement.get(), image.bands, image.role});
    }
    return sources;
}

std::unique_ptr<SceneLevel::Slot> SceneLevel::MakeSlot(Status& status) const {
    auto slot = std::make_unique<Slot>();
    slot->fusion = std::make_unique<FusionSlot>(MakeSources(*slot), pair.GetPlugin(), settings, status);
    return slot->fusion->Init(status) ? std::move(slot) : nullptr;
}

bool SceneLevel::Describe(const SceneFindings& found, OutputMetadata& metadata, Status& status) const {
    Slot images;
    return DescribeFusion(MakeSources(images), pair.GetPlugin(), settings, found, tiffSoftwareItem, metadata,
                          status);
}

void SceneLevel::Slot::ReadFrom(const OpenPair::Readers& lent) {
    for (std::size_t i = 0; i < images.size(); ++i)
        images[i]->ReadFrom(*lent.images[readers[i]]);
}

} // namespace rasterhost
