#include "rasterhost/fitting/SceneSurvey.h"

#include "hostkit/AxisPlacement.h"
#include "hostkit/RequestRecord.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// Side of a block, in pixels, if the axes of grids are not parallel; and how far such a block may be turned,
/// right by down, to treat its footprints as rectangles.
constexpr std::uint32_t smallSide = 16;
constexpr double mostTurn = 0.005;

/// From the exact positions of a block's middle and its neighbours. Null for the other image means pan.
Footprint TurnedFootprint(const Scene& scene, const PlacedImage* other, const PixelRect& block) {
    const auto place = [&](double column, double row) {
        const auto on = scene.GetMultispectral().placement->ToPan({column, row});
        return on && other ? other->placement->FromPan(*on) : on;
    };
    const double column = (block.col0 + block.col1) / 2.0, row = (block.row0 + block.row1) / 2.0;
    const auto a = place(column, row), b = place(column + 1.0, row), c = place(column, row + 1.0);
    constexpr double beside = -1e9;
    Footprint print{{beside, 1.0}, {beside, 1.0}, true};
    if (!a || !b || !c) return print;
    print.across.step = b->x - a->x;
    print.downOfColumn = b->y - a->y;
    print.acrossOfRow = c->x - a->x;
    print.down.step = c->y - a->y;
    print.across.origin = a->x - column * print.across.step - row * print.acrossOfRow;
    print.down.origin = a->y - row * print.down.step - column * print.downOfColumn;
    return print;
}

/// The multispectral grid under a block, if its axes are parallel to those of an image in the same map units.
Footprint StraightFootprint(const Scene& scene, const RasterInfo& on) {
    const hostkit::AxisPlacement placement(on, scene.GetMultispectral().GetInfo());
    return {placement.FindEdgesAcross(), placement.FindEdgesDown()};
}

/// The multispectral grid under a block on pan. If the two are nearly parallel, it is found from the exact
/// position of the block's middle and the mean size of a pixel: blocks are then small.
Footprint FootprintOnPan(const Scene& scene, const PixelRect& block) {
    const PlacedImage& coarse = scene.GetMultispectral();
    const RasterInfo& pan = scene.pan->GetInfo();
    if (coarse.placement->RunsAlong()) return StraightFootprint(scene, pan);
    const Footprint turned = TurnedFootprint(scene, nullptr, block);
    const bool isNearlyAlong = turned.across.step > 0.0 && turned.down.step > 0.0 &&
                               std::fabs(turned.downOfColumn) < mostTurn * turned.across.step &&
                               std::fabs(turned.acrossOfRow) < mostTurn * turned.down.step;
    if (!isNearlyAlong) return turned;
    const double column = (block.col0 + block.col1) / 2.0, row = (block.row0 + block.row1) / 2.0;
    const auto middle = coarse.placement->ToPan({column, row});
    const RasterInfo info = coarse.GetInfo();
    const double across = info.pixelSizeX / pan.pixelSizeX;
    const double down = info.pixelSizeY / pan.pixelSizeY;
    if (!middle) return {{-1e9, across}, {-1e9, down}}; // outside pan
    return {{middle->x - column * across, across}, {middle->y - row * down, down}};
}

/// The same on an image of other bands.
Footprint FootprintOn(const Scene& scene, const PlacedImage& other, const PixelRect& block) {
    const bool runsAlong = scene.GetMultispectral().placement->RunsAlong() && other.placement->RunsAlong();
    return runsAlong ? StraightFootprint(scene, other.GetInfo()) : TurnedFootprint(scene, &other, block);
}

/// Samples of this value and above may stand for any brightness.
unsigned SaturatedSample(const InputImage& image, std::optional<int> bitDepth) {
    unsigned bits = bitDepth ? static_cast<unsigned>(*bitDepth) : image.GetDescription()->GetBitDepth();
    for (const SourceBand& source : image.GetDescription()->bands)
        if (source.type == GDT_Int16) bits = std::min(bits, 15u);
    return (1u << std::min(bits, image.GetInfo().bitsPerBand)) - 1;
}

/// The sums of an image's bands under a block; none for an empty rectangle.
bool ReadSums(InputImage& image, const PixelRect& rect, std::optional<int> bitDepth,
              std::vector<AreaSums>& sums, ImageTally& tally, Status& status) {
    const std::size_t bands = image.GetInfo().bandsPerPixel;
    sums.assign(bands, {});
    tally = {};
    if (rect.IsEmpty()) return true;
    SurveyedPixels pixels;
    if (!ReadPixels(image, rect, bitDepth, pixels, status)) return false;
    tally = pixels.tally;
    std::vector<unsigned short> band(pixels.usable.size());
    for (std::size_t number = 0; number < bands; ++number) {
        for (std::size_t pixel = 0; pixel < band.size(); ++pixel)
            band[pixel] = pixels.samples[pixel * bands + number];
        sums[number] = AreaSums(rect, band, pixels.usable);
    }
    return true;
}

} // namespace

bool CheckWanted(const std::function<bool()>& isWanted, Status& status) {
    return !isWanted || isWanted() ||
           Fail(status, HostStatus::Cancelled, "cancelled before everything was fitted");
}

bool ReadPixels(InputImage& image, const PixelRect& rect, std::optional<int> bitDepth, SurveyedPixels& pixels,
                Status& status) {
    const std::size_t count = std::size_t{rect.GetColumns()} * rect.GetRows();
    const std::size_t bands = image.GetInfo().bandsPerPixel;
    const bool isNarrow = image.GetInfo().bitsPerBand == 8;
    std::vector<unsigned char> narrow(isNarrow ? count * bands : 0);
    pixels.samples.resize(count * bands);
    pixels.usable.resize(count);
    auto* bytes = isNarrow ? narrow.data() : reinterpret_cast<unsigned char*>(pixels.samples.data());
    if (!image.Read(rect, bytes, status) || !image.ReadValid(rect, bytes, pixels.usable.data(), status))
        return false;
    std::copy(narrow.begin(), narrow.end(), pixels.samples.begin());
    std::vector<unsigned short> ofPixels(bands > 1 ? count : 0);
    for (std::size_t i = 0; i < ofPixels.size(); ++i)
        ofPixels[i] =
            *std::max_element(pixels.samples.data() + i * bands, pixels.samples.data() + (i + 1) * bands);
    const auto saturated = static_cast<unsigned short>(SaturatedSample(image, bitDepth));
    const unsigned short* largest = bands > 1 ? ofPixels.data() : pixels.samples.data();
    unsigned char* usable = pixels.usable.data();
    std::uint32_t withData = 0, saturatedOnes = 0;
    unsigned short largestOfAll = 0;
    for (std::size_t i = 0; i < count; ++i) { // no branches, for vectors
        const unsigned short sample = largest[i];
        const unsigned hasData = usable[i] != 0 ? 1 : 0;
        const unsigned isSaturated = hasData & (sample >= saturated ? 1 : 0);
        withData += hasData;
        saturatedOnes += isSaturated;
        largestOfAll = std::max(largestOfAll, static_cast<unsigned short>(sample * hasData));
        usable[i] = static_cast<unsigned char>(hasData ^ isSaturated);
    }
    pixels.tally = {.pixels = count,
                    .withoutData = count - withData,
                    .saturated = saturatedOnes,
                    .largest = largestOfAll};
    return true;
}

PixelRect FindAreaOnPan(const Scene& scene) {
    const PixelRect whole = hostkit::WholeImage(scene.GetMultispectral().GetInfo());
    if (!scene.GetMultispectral().placement->RunsAlong()) return whole;
    return FootprintOnPan(scene, whole).FindWhollyOn(whole, scene.pan->GetInfo());
}

std::vector<PixelRect> ChooseBlocks(const Scene& scene, const SurveyPlan& plan) {
    const RasterInfo& pan = scene.pan->GetInfo();
    const RasterInfo ms = scene.GetMultispectral().GetInfo();
    const bool isSmall = std::any_of(scene.images.begin(), scene.images.end(), [](const PlacedImage& coarse) {
        return !coarse.placement->RunsAlong();
    });
    const double ratio = std::max(ms.pixelSizeX / pan.pixelSizeX, ms.pixelSizeY / pan.pixelSizeY);
    return fitting::SpreadBlocks(FindAreaOnPan(scene), ratio,
                                 {plan.blocksAcross, isSmall ? std::min(plan.side, smallSide) : plan.side});
}

void AskForBlock(const Scene& scene, const PixelRect& block, double margin, ReadAhead& ahead,
                 std::uint64_t step) {
    ahead.Ask(*scene.GetMultispectral().image, block, step);
    for (std::size_t other = 1; other < scene.images.size(); ++other) {
        const PlacedImage& image = scene.images[other];
        ahead.Ask(*image.image,
                  FootprintOn(scene, image, block)
                      .FindUnder(block.col0, block.row0, block.col1, block.row1, image.image->GetInfo()),
                  step);
    }
    ahead.Ask(*scene.pan,
              FootprintOnPan(scene, block)
                  .FindUnder(block.col0 - margin, block.row0 - margin, block.col1 + margin,
                             block.row1 + margin, scene.pan->GetInfo()),
              step);
}

bool SurveyBlock::ReadBands(const Scene& scene, const PixelRect& block, std::optional<int> bitDepth,
                            Status& status) {
    rect = block;
    pan = {};
    tally = {};
    onPan = FootprintOnPan(scene, block);
    bands = scene.CountBands();
    tally.images.resize(scene.images.size());
    if (!ReadFirst(scene, bitDepth, status)) return false;
    for (std::size_t other = 1; other < scene.images.size(); ++other)
        if (!AddOther(scene, scene.images[other], bitDepth, tally.images[other], status)) return false;
    return true;
}

bool SurveyBlock::Read(const Scene& scene, const PixelRect& block, double margin, std::optional<int> bitDepth,
                       Status& status) {
    if (!ReadBands(scene, block, bitDepth, status)) return false;
    const PixelRect panRect = onPan.FindUnder(block.col0 - margin, block.row0 - margin, block.col1 + margin,
                                              block.row1 + margin, scene.pan->GetInfo());
    std::vector<AreaSums> sums;
    if (!ReadSums(*scene.pan, panRect, bitDepth, sums, tally.pan, status)) return false;
    pan = std::move(sums.front());
    return true;
}

bool SurveyBlock::ReadFirst(const Scene& scene, std::optional<int> bitDepth, Status& status) {
    const PlacedImage& first = scene.GetMultispectral();
    SurveyedPixels pixels;
    if (!ReadPixels(*first.image, rect, bitDepth, pixels, status)) return false;
    tally.images.front() = pixels.tally;
    usable = std::move(pixels.usable);
    samples.assign(usable.size() * bands, 0.0);
    for (std::size_t pixel = 0; pixel < usable.size(); ++pixel)
        for (std::size_t own = 0; own < first.bands.size(); ++own)
            samples[pixel * bands + first.bands[own]] = pixels.samples[pixel * first.bands.size() + own];
    return true;
}

/// Adds the bands of another image.
bool SurveyBlock::AddOther(const Scene& scene, const PlacedImage& other, std::optional<int> bitDepth,
                           ImageTally& seen, Status& status) {
    const Footprint print = FootprintOn(scene, other, rect);
    const std::size_t first = scene.FirstOf(other.role);
    std::vector<AreaSums> sums;
    if (!ReadSums(*other.image,
                  print.FindUnder(rect.col0, rect.row0, rect.col1, rect.row1, other.image->GetInfo()),
                  bitDepth, sums, seen, status))
        return false;
    for (std::size_t pixel = 0; pixel < usable.size(); ++pixel) {
        const double column = rect.col0 + static_cast<double>(pixel % rect.GetColumns());
        const std::size_t rowOfBlock = pixel / rect.GetColumns();
        const double row = rect.row0 + static_cast<double>(rowOfBlock);
        for (std::size_t own = 0; own < other.bands.size(); ++own) {
            const auto mean = print.Mean(sums[own], column, row, column + 1.0, row + 1.0);
            if (!mean) usable[pixel] = 0;
            samples[pixel * bands + first + other.bands[own]] = mean.value_or(0.0);
        }
    }
    return true;
}

std::optional<double> SurveyBlock::GetPan(std::size_t pixel, double right, double below, double grow) const {
    const double column = rect.col0 + static_cast<double>(pixel % rect.GetColumns()) + right;
    const std::size_t rowOfBlock = pixel / rect.GetColumns();
    const double row = rect.row0 + static_cast<double>(rowOfBlock) + below;
    return onPan.Mean(pan, column - grow, row - grow, column + 1.0 + grow, row + 1.0 + grow);
}

} // namespace rasterhost
