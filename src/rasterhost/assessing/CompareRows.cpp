#include "rasterhost/assessing/CompareRows.h"

#include <cmath>

namespace rasterhost {

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

bool CompareRows(RowSource& image, RowSource& reference, double ratio, quality::ReferenceIndices& found,
                 Status& status) {
    const std::size_t columns = image.GetColumns(), bands = image.GetBands();
    quality::Comparison comparison(columns, bands);
    SampleRows a, b;
    const bool isDone = ForStrips(image, [&](std::uint32_t row, std::uint32_t end) {
        if (!image.Read(row, end, a, status) || !reference.Read(row, end, b, status)) return false;
        KeepCommon(a.valid, b.valid);
        for (std::size_t i = 0; i < end - row; ++i)
            comparison.AddRow(a.samples.data() + i * columns * bands, b.samples.data() + i * columns * bands,
                              a.valid.data() + i * columns);
        return true;
    });
    if (isDone) found = comparison.Find(ratio);
    return isDone;
}

std::int64_t StripCache(std::initializer_list<const InputImage*> images) {
    std::int64_t bytes = std::int64_t{32} << 20;
    for (const InputImage* image : images)
        if (image) bytes += 2 * static_cast<std::int64_t>(image->GetDescription()->GetBlockRowBytes());
    return bytes;
}

bool CheckGrids(const Scene& scene, Status& status) {
    const std::size_t grids = scene.GetGrids().size();
    if (grids > 1)
        return Fail(status, HostStatus::InputsDoNotFit,
                    "the multispectral bands lie on %d different grids, and indices take one; "
                    "name bands that share a grid, or bring them onto one with gdalwarp",
                    static_cast<int>(grids));
    const PlacedImage& multispectral = scene.GetMultispectral();
    if (scene.HasInfrared() && !IsOnGrid(scene.images.back(), multispectral))
        return Fail(status, HostStatus::InputsDoNotFit,
                    "the infrared band of %s lies on another grid than %s, and both are degraded "
                    "alike; bring it onto that grid with gdalwarp -te and -ts",
                    scene.images.back().image->GetName().c_str(), multispectral.image->GetName().c_str());
    return multispectral.placement->RunsAlong() ||
           Fail(status, HostStatus::InputsDoNotFit,
                "rows and columns of %s and %s do not run along each other, which degrading them takes; "
                "bring the second into the projection of the first with gdalwarp -t_srs",
                scene.pan->GetName().c_str(), multispectral.image->GetName().c_str());
}

} // namespace rasterhost
