#include "rasterhost/SceneSample.h"

#include "hostkit/RequestRecord.h"
#include "rasterhost/GridTransform.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace rasterhost {

using hostkit::PixelRect;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// Pan pixels across a block, and down, at most: a coarse image has smaller blocks.
constexpr double mostPanPixels = 1024.0;

GridMap MakeGridMap(const kernels::GridAxis& axis) {
    const double ratio = axis.denominator == 0
                             ? axis.ratio
                             : static_cast<double>(axis.numerator) / static_cast<double>(axis.denominator);
    return {-axis.offset / ratio, 1.0 / ratio};
}

/// The multispectral grid beneath a block, along the axes of pan: the exact place of the block's middle and
/// the mean size of a pixel. Exact where the grids run along each other; else blocks are small.
std::pair<GridMap, GridMap> MapsOf(const Scene& scene, const PixelRect& block) {
    const InputImage& image = *scene.multispectral;
    const RasterInfo& pan = scene.pan->GetInfo();
    const auto placement = hostkit::PlaceGrids(pan, image.GetInfo());
    if (!image.GetMap()) return {MakeGridMap(placement.across), MakeGridMap(placement.down)};
    const double column = (block.col0 + block.col1) / 2.0, row = (block.row0 + block.row1) / 2.0;
    const auto middle = image.GetTransform()->ToPan({column - image.GetMove()[0], row - image.GetMove()[1]});
    const double across = image.GetInfo().pixelSizeX / pan.pixelSizeX;
    const double down = image.GetInfo().pixelSizeY / pan.pixelSizeY;
    if (!middle) return {{-1e9, across}, {-1e9, down}}; // beside pan
    return {{middle->x - column * across, across}, {middle->y - row * down, down}};
}

/// Where the grids are far from running along each other, footprints are no rectangles of pan.
bool CanBeSampled(const Scene& scene) {
    const InputImage& image = *scene.multispectral;
    if (scene.infrared && scene.infrared->GetMap()) return false;
    if (!image.GetMap()) return true;
    const double column = image.GetInfo().cols / 2.0, row = image.GetInfo().rows / 2.0;
    const auto a = image.GetTransform()->ToPan({column, row});
    const auto b = image.GetTransform()->ToPan({column + 1.0, row});
    const auto c = image.GetTransform()->ToPan({column, row + 1.0});
    constexpr double mostTurn = 0.2;
    return !scene.infrared && a && b && c && b->x > a->x && c->y > a->y &&
           std::fabs(b->y - a->y) < mostTurn * (b->x - a->x) &&
           std::fabs(c->x - a->x) < mostTurn * (c->y - a->y);
}

/// First and end of the multispectral pixels that lie wholly on an image of so many pixels.
std::pair<std::uint32_t, std::uint32_t> WhollyOn(const GridMap& map, std::uint32_t pixels,
                                                 std::uint32_t multispectralPixels) {
    std::uint32_t first = 0, end = multispectralPixels;
    while (first < end && map.At(first) < 0.0)
        ++first;
    while (end > first && map.At(end) > pixels)
        --end;
    return {first, end};
}

/// Starts and ends of blocks along one axis.
std::vector<std::pair<std::uint32_t, std::uint32_t>> Divide(std::uint32_t first, std::uint32_t end,
                                                            const SamplePlan& plan, std::uint32_t side) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> spans;
    const std::uint64_t length = end - first;
    if (length == 0) return spans;
    const std::uint64_t count = std::min<std::uint64_t>((length - 1) / side + 1, plan.blocksAcross);
    const bool coversAll = count * side >= length;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t start = coversAll    ? i * length / count
                                    : count == 1 ? (length - side) / 2
                                                 : i * (length - side) / (count - 1);
        const std::uint64_t stop = coversAll ? (i + 1) * length / count : start + side;
        spans.emplace_back(first + static_cast<std::uint32_t>(start),
                           first + static_cast<std::uint32_t>(stop));
    }
    return spans;
}

/// All samples of a part of an image, and which of its pixels have data and are not saturated.
struct Pixels {
    std::vector<unsigned short> samples; ///< interleaved by pixel
    std::vector<unsigned char> usable;
    ImageTally tally;
};

/// Samples this large and larger may stand for any brightness.
unsigned SaturatedSample(const InputImage& image, std::optional<int> bitDepth) {
    unsigned bits = bitDepth ? static_cast<unsigned>(*bitDepth) : image.GetBitDepth();
    for (const SourceBand& source : image.GetBands())
        if (source.band->GetRasterDataType() == GDT_Int16) bits = std::min(bits, 15u);
    return (1u << std::min(bits, image.GetInfo().bitsPerBand)) - 1;
}

bool ReadPixels(const InputImage& image, const PixelRect& rect, std::optional<int> bitDepth, Pixels& pixels,
                Status& status) {
    const std::size_t count = std::size_t{rect.GetColumns()} * rect.GetRows();
    const std::size_t bands = image.GetInfo().bandsPerPixel;
    pixels.samples.resize(count * bands);
    pixels.usable.resize(count);
    auto* bytes = reinterpret_cast<unsigned char*>(pixels.samples.data());
    if (!image.Read(rect, bytes, status) || !image.ReadValid(rect, bytes, pixels.usable.data(), status))
        return false;
    if (image.GetInfo().bitsPerBand == 8)
        for (std::size_t i = count * bands; i-- > 0;) // from behind, where nothing is still to be read
            pixels.samples[i] = bytes[i];
    const unsigned saturated = SaturatedSample(image, bitDepth);
    pixels.tally.pixels = count;
    for (std::size_t i = 0; i < count; ++i) {
        if (!pixels.usable[i]) {
            ++pixels.tally.withoutData;
            continue;
        }
        const unsigned short* pixel = pixels.samples.data() + i * bands;
        const unsigned largest = *std::max_element(pixel, pixel + bands);
        pixels.tally.largest = std::max(pixels.tally.largest, largest);
        if (largest < saturated) continue;
        ++pixels.tally.saturated;
        pixels.usable[i] = 0;
    }
    return true;
}

/// The pixels of an image beneath a block of multispectral pixels and some around it.
PixelRect RectBeneath(const GridMap& across, const GridMap& down, const PixelRect& block, double margin,
                      const RasterInfo& image) {
    const auto clamp = [](double position, std::uint32_t pixels) {
        return static_cast<std::uint32_t>(std::clamp(position, 0.0, static_cast<double>(pixels)));
    };
    return {clamp(std::floor(across.At(block.col0 - margin)), image.cols),
            clamp(std::floor(down.At(block.row0 - margin)), image.rows),
            clamp(std::ceil(across.At(block.col1 + margin)), image.cols),
            clamp(std::ceil(down.At(block.row1 + margin)), image.rows)};
}

/// One band of an image beneath a block, summed up.
bool ReadSums(const InputImage& image, const PixelRect& rect, std::optional<int> bitDepth, AreaSums& sums,
              ImageTally& tally, Status& status) {
    sums = AreaSums();
    tally = {};
    if (rect.IsEmpty()) return true;
    Pixels pixels;
    if (!ReadPixels(image, rect, bitDepth, pixels, status)) return false;
    sums = AreaSums(rect, pixels.samples, pixels.usable);
    tally = pixels.tally;
    return true;
}

} // namespace

double GridMap::At(double edge) const {
    constexpr double noise = 1e-6;
    const double position = origin + edge * step;
    const double whole = std::floor(position + 0.5);
    return std::fabs(position - whole) <= noise ? whole : position;
}

std::vector<PixelRect> ChooseBlocks(const Scene& scene, const SamplePlan& plan) {
    const RasterInfo& pan = scene.pan->GetInfo();
    const RasterInfo& ms = scene.multispectral->GetInfo();
    if (!CanBeSampled(scene)) return {};
    const bool isMapped = scene.multispectral->GetMap() != nullptr;
    const auto [across, down] = MapsOf(scene, hostkit::WholeImage(ms));
    if (!(std::max(across.step, down.step) <= mostPanPixels)) return {};
    const auto columns = isMapped ? std::pair(0u, ms.cols) : WhollyOn(across, pan.cols, ms.cols);
    const auto rows = isMapped ? std::pair(0u, ms.rows) : WhollyOn(down, pan.rows, ms.rows);
    constexpr double smallSide = 12.0;
    const double side = std::clamp(mostPanPixels / std::max(across.step, down.step), 1.0,
                                   isMapped ? smallSide : static_cast<double>(plan.side));
    std::vector<PixelRect> blocks;
    for (const auto& [row0, row1] : Divide(rows.first, rows.second, plan, static_cast<std::uint32_t>(side)))
        for (const auto& [col0, col1] :
             Divide(columns.first, columns.second, plan, static_cast<std::uint32_t>(side)))
            blocks.push_back({col0, row0, col1, row1});
    return blocks;
}

bool BlockSample::Read(const Scene& scene, const PixelRect& block, double margin, std::optional<int> bitDepth,
                       Status& status) {
    rect = block;
    tally = {};
    std::tie(across, down) = MapsOf(scene, block);
    bands = scene.multispectral->GetInfo().bandsPerPixel + (scene.infrared ? std::size_t{1} : 0);
    if (!ReadBands(*scene.multispectral, bitDepth, status)) return false;
    if (scene.infrared && !AddInfrared(scene, bitDepth, status)) return false;
    const PixelRect beneath = RectBeneath(across, down, block, margin, scene.pan->GetInfo());
    return ReadSums(*scene.pan, beneath, bitDepth, pan, tally.pan, status);
}

bool BlockSample::ReadBands(const InputImage& image, std::optional<int> bitDepth, Status& status) {
    Pixels pixels;
    if (!ReadPixels(image, rect, bitDepth, pixels, status)) return false;
    tally.multispectral = pixels.tally;
    usable = std::move(pixels.usable);
    samples.assign(usable.size() * bands, 0.0);
    const std::size_t own = image.GetInfo().bandsPerPixel;
    for (std::size_t pixel = 0; pixel < usable.size(); ++pixel)
        std::copy_n(pixels.samples.data() + pixel * own, own, samples.data() + pixel * bands);
    return true;
}

bool BlockSample::AddInfrared(const Scene& scene, std::optional<int> bitDepth, Status& status) {
    const RasterInfo& info = scene.infrared->GetInfo();
    const auto placement = hostkit::PlaceGrids(info, scene.multispectral->GetInfo());
    const GridMap x = MakeGridMap(placement.across), y = MakeGridMap(placement.down);
    AreaSums infrared;
    if (!ReadSums(*scene.infrared, RectBeneath(x, y, rect, 0.0, info), bitDepth, infrared, tally.infrared,
                  status))
        return false;
    for (std::size_t pixel = 0; pixel < usable.size(); ++pixel) {
        const double column = rect.col0 + static_cast<double>(pixel % rect.GetColumns());
        const std::size_t rowOfBlock = pixel / rect.GetColumns();
        const double row = rect.row0 + static_cast<double>(rowOfBlock);
        const auto mean = infrared.Mean(x.At(column), y.At(row), x.At(column + 1.0), y.At(row + 1.0));
        if (!mean) usable[pixel] = 0;
        samples[pixel * bands + bands - 1] = mean.value_or(0.0);
    }
    return true;
}

std::optional<double> BlockSample::GetPan(std::size_t pixel, double right, double below, double grow) const {
    const double column = rect.col0 + static_cast<double>(pixel % rect.GetColumns()) + right;
    const std::size_t rowOfBlock = pixel / rect.GetColumns();
    const double row = rect.row0 + static_cast<double>(rowOfBlock) + below;
    return pan.Mean(across.At(column - grow), down.At(row - grow), across.At(column + 1.0 + grow),
                    down.At(row + 1.0 + grow));
}

} // namespace rasterhost
