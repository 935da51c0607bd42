#include "rasterhost/assessing/CompareRows.h"

#include "imagery/ComparedRows.h"
#include "rasterhost/assessing/InParts.h"
#include "rasterhost/requests/HostProcess.h"

#include <algorithm>
#include <cmath>

namespace rasterhost {

using imagery::ImageRows;
using imagery::RowSource;

namespace {

bool IsOnGrid(const PlacedImage& image, const PlacedImage& other) {
    if (!image.placement->RunsAlong() || !other.placement->RunsAlong()) return false;
    const auto a = image.GetInfo(), b = other.GetInfo();
    constexpr double noise = 1e-6; // of a pixel
    return a.cols == b.cols && a.rows == b.rows && std::fabs(a.xMin - b.xMin) <= noise * b.pixelSizeX &&
           std::fabs(a.xMax - b.xMax) <= noise * b.pixelSizeX &&
           std::fabs(a.yMin - b.yMin) <= noise * b.pixelSizeY &&
           std::fabs(a.yMax - b.yMax) <= noise * b.pixelSizeY;
}

} // namespace

OpenRows RowsOf(const InputImage& image) {
    return [known = image.GetDescription()](Status& status) -> std::unique_ptr<RowSource> {
        auto opened = InputImage::Open(known, status);
        return opened ? std::make_unique<ImageRows>(std::move(opened)) : nullptr;
    };
}

bool CompareRows(const OpenRows& image, const OpenRows& reference, int threads, double ratio,
                 quality::ReferenceIndices& found, Status& status) {
    const auto size = image(status);
    if (!size) return false;
    constexpr std::uint32_t partRows = imagery::comparedRows;
    const std::uint32_t rows = size->GetRows();
    quality::Comparison comparison(size->GetColumns(), size->GetBands());
    const auto open = [&](Status& reasons) {
        auto opened = std::make_unique<imagery::ComparedRows>();
        opened->image = image(reasons);
        opened->reference = opened->image ? reference(reasons) : nullptr;
        return opened->reference ? std::move(opened) : nullptr;
    };
    const auto compare = [&](imagery::ComparedRows& readers, std::size_t part, Status& reasons) {
        const std::uint32_t first = static_cast<std::uint32_t>(part) * partRows;
        return imagery::ComparePart(readers, first, std::min(first + partRows, rows), reasons);
    };
    if (!InParts(
            threads, (rows + partRows - 1) / partRows, open, compare,
            [&](quality::Comparison& below) { comparison.Append(below); }, status))
        return false;
    found = comparison.Find(ratio);
    return true;
}

std::int64_t StripCache(std::initializer_list<const InputImage*> images, int threads) {
    std::int64_t bytes = 0;
    for (const InputImage* image : images)
        if (image) bytes += static_cast<std::int64_t>(image->GetDescription()->GetBlockRowBytes());
    return (threads + 1) * bytes + (std::int64_t{4} << 20);
}

int StripThreads(std::initializer_list<const InputImage*> images, const Warn& warn) {
    constexpr std::int64_t most = std::int64_t{256} << 20;
    int threads = tbb::this_task_arena::max_concurrency();
    while (threads > 1 && StripCache(images, threads) > most)
        --threads;
    return LimitThreads(threads, threads, warn);
}

bool CheckGrids(const Scene& scene, Status& status) {
    const std::size_t grids = scene.GetGrids().size();
    if (grids > 1)
        return Fail(status, HostStatus::InputsDoNotFit,
                    "the multispectral bands lie on %d different grids, and the indices need one grid; name "
                    "bands that share a grid, or bring them onto one with gdalwarp",
                    static_cast<int>(grids));
    const PlacedImage& multispectral = scene.GetMultispectral();
    if (scene.HasInfrared() && !IsOnGrid(scene.images.back(), multispectral))
        return Fail(status, HostStatus::InputsDoNotFit,
                    "the infrared band of %s lies on another grid than %s, and both must share one; bring it "
                    "onto that grid with gdalwarp -te and -ts",
                    scene.images.back().image->GetName().c_str(), multispectral.image->GetName().c_str());
    return multispectral.placement->RunsAlong() ||
           Fail(status, HostStatus::InputsDoNotFit,
                "the axes of %s and %s are not parallel, but only parallel grids can be degraded; bring the "
                "second into the "
                "projection of the first with gdalwarp -t_srs",
                scene.pan->GetName().c_str(), multispectral.image->GetName().c_str());
}

} // namespace rasterhost
