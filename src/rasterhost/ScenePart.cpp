#include "rasterhost/ScenePart.h"

#include "fundament/Text.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

bool ChoosePart(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    const RasterInfo& pan = scene.pan->GetInfo();
    scene.part = {0, 0, pan.cols, pan.rows};
    if (!request.part) return true;
    if (!scene.pan->IsGeoreferenced() || !scene.pan->IsNorthUp())
        return Fail(status, HostStatus::RequestInvalid,
                    FormatString("%s %s, so no part of it can be named in map units; cut it by pixels with "
                                 "gdal_translate -srcwin, or %s",
                                 scene.pan->GetName().c_str(),
                                 scene.pan->IsNorthUp() ? "has no position" : "is not north up",
                                 scene.pan->IsNorthUp() ? "give it one with gdal_edit.py -a_ullr"
                                                        : "bring it north up with gdalwarp"));
    const auto& [left, top, right, bottom] = *request.part;
    bool isCut = false;
    // The pixels between two coordinates, both in pixels from pan's corner.
    const auto between = [&isCut](double first, double end, std::uint32_t pixels) {
        const auto clip = [&](double at) {
            const double whole = std::floor(at + 0.5);
            isCut = isCut || whole < 0.0 || whole > pixels;
            return static_cast<std::uint32_t>(std::clamp(whole, 0.0, static_cast<double>(pixels)));
        };
        return std::pair(clip(first), clip(end));
    };
    const auto [col0, col1] =
        between((left - pan.xMin) / pan.pixelSizeX, (right - pan.xMin) / pan.pixelSizeX, pan.cols);
    const auto [row0, row1] =
        between((pan.yMax - top) / pan.pixelSizeY, (pan.yMax - bottom) / pan.pixelSizeY, pan.rows);
    scene.part = {col0, row0, col1, row1};
    if (scene.part.IsEmpty())
        return Fail(
            status, HostStatus::RequestInvalid,
            FormatString("the part asked for (x %.10g to %.10g, y %.10g to %.10g) holds no pixel of %s "
                         "(x %.10g to %.10g, y %.10g to %.10g)",
                         left, right, bottom, top, scene.pan->GetName().c_str(), pan.xMin, pan.xMax, pan.yMin,
                         pan.yMax));
    if (isCut)
        warn(FormatString("the part asked for reaches beyond %s and ends at its edge",
                          scene.pan->GetName().c_str()));
    return true;
}

namespace {

using hostkit::PixelRect;

/// First and end of the pan pixels of a span whose centre lies on a source of so many pixels.
std::pair<std::uint32_t, std::uint32_t> SpanOn(const kernels::GridAxis& axis, std::uint32_t first,
                                               std::uint32_t end, std::uint32_t sourcePixels) {
    const auto isOn = [&](std::uint32_t pan) {
        const kernels::GridPosition at = kernels::PanToMultispectral(axis, pan);
        const double position = static_cast<double>(at.index) + at.fraction;
        return position >= -0.5 && position <= sourcePixels - 0.5;
    };
    while (first < end && !isOn(first))
        ++first;
    while (end > first && !isOn(end - 1))
        --end;
    return {first, end};
}

/// The window of all pixels of a part that lie on an image by its map.
PixelRect MappedOn(const InputImage& image, const PixelRect& part) {
    PixelRect on{part.col1, part.row1, part.col0, part.row0};
    std::vector<hostkit::PixelMap::Position> positions(part.GetColumns());
    const double right = image.GetInfo().cols - 0.5, bottom = image.GetInfo().rows - 0.5;
    for (std::uint32_t row = part.row0; row < part.row1; ++row) {
        image.GetMap()->FindRow(row, part.col0, part.col1, positions.data());
        for (std::uint32_t i = 0; i < positions.size(); ++i) {
            const auto& at = positions[i];
            if (!(at.x >= -0.5 && at.x <= right && at.y >= -0.5 && at.y <= bottom)) continue;
            on = {std::min(on.col0, part.col0 + i), std::min(on.row0, row),
                  std::max(on.col1, part.col0 + i + 1), std::max(on.row1, row + 1)};
        }
    }
    return on;
}

} // namespace

bool CutToIntersection(Scene& scene, Status& status) {
    PixelRect part = scene.part;
    for (const InputImage* image : scene.GetCoarseImages()) {
        if (part.IsEmpty()) continue;
        if (image->GetMap()) {
            part = MappedOn(*image, part);
            continue;
        }
        const auto placement = hostkit::PlaceGrids(scene.pan->GetInfo(), image->GetInfo());
        std::tie(part.col0, part.col1) =
            SpanOn(placement.across, part.col0, part.col1, image->GetInfo().cols);
        std::tie(part.row0, part.row1) = SpanOn(placement.down, part.row0, part.row1, image->GetInfo().rows);
    }
    if (part.IsEmpty())
        return Fail(
            status, HostStatus::InputsDoNotFit,
            FormatString("no pixel of %s lies on all the other images", scene.pan->GetName().c_str()));
    scene.part = part;
    scene.covered = {std::max(scene.covered.col0, part.col0), std::max(scene.covered.row0, part.row0),
                     std::min(scene.covered.col1, part.col1), std::min(scene.covered.row1, part.row1)};
    return true;
}

} // namespace rasterhost
