#include "rasterhost/scene/ScenePart.h"

#include "fundament/Text.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

bool ChoosePart(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    const RasterInfo& pan = scene.pan->GetInfo();
    scene.part = {0, 0, pan.cols, pan.rows};
    if (!request.part) return true;
    if (!scene.pan->GetDescription()->IsGeoreferenced() || !scene.pan->GetDescription()->isNorthUp)
        return Fail(status, HostStatus::RequestInvalid,
                    "%s %s, so no part of it can be named in map units; cut it by pixels with "
                    "sharpen --srcwin or gdal_translate -srcwin, or %s",
                    scene.pan->GetName().c_str(),
                    scene.pan->GetDescription()->isNorthUp ? "has no position" : "is not north up",
                    scene.pan->GetDescription()->isNorthUp ? "give it one with gdal_edit.py -a_ullr"
                                                           : "bring it north up with gdalwarp");
    const auto& [left, top, right, bottom] = *request.part;
    bool isCut = false;
    // The range of pixels between two coordinates, both in pixels from pan's corner.
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
        return Fail(status, HostStatus::RequestInvalid,
                    "the part asked for (x %.10g to %.10g, y %.10g to %.10g) holds no pixel of %s "
                    "(x %.10g to %.10g, y %.10g to %.10g)",
                    left, right, bottom, top, scene.pan->GetName().c_str(), pan.xMin, pan.xMax, pan.yMin,
                    pan.yMax);
    if (isCut)
        warn(FormatString("the part asked for reaches beyond %s and ends at its edge",
                          scene.pan->GetName().c_str()));
    return true;
}

namespace {

hostkit::PixelRect Shared(const hostkit::PixelRect& a, const hostkit::PixelRect& b) {
    return {std::max(a.col0, b.col0), std::max(a.row0, b.row0), std::min(a.col1, b.col1),
            std::min(a.row1, b.row1)};
}

} // namespace

bool CutToIntersection(Scene& scene, Status& status) {
    hostkit::PixelRect part = scene.part;
    for (const PlacedImage& coarse : scene.images)
        if (!part.IsEmpty()) part = coarse.placement->FindShared(part);
    if (part.IsEmpty())
        return Fail(status, HostStatus::InputsDoNotFit, "no pixel of %s lies on all the other images",
                    scene.pan->GetName().c_str());
    scene.part = part;
    scene.covered = Shared(scene.covered, part);
    return true;
}

bool CutToWindow(const hostkit::PixelRect& window, Scene& scene, Status& status) {
    const hostkit::PixelRect& whole = scene.part;
    if (window.IsEmpty() || window.col1 > whole.GetColumns() || window.row1 > whole.GetRows())
        return Fail(status, HostStatus::RequestInvalid,
                    "the window of columns %u to %u and rows %u to %u does not lie within the %u columns and "
                    "%u rows of the result",
                    window.col0, window.col1, window.row0, window.row1, whole.GetColumns(), whole.GetRows());
    scene.part = {whole.col0 + window.col0, whole.row0 + window.row0, whole.col0 + window.col1,
                  whole.row0 + window.row1};
    const hostkit::PixelRect covered = Shared(scene.covered, scene.part);
    // If nothing has data, the covered pixels of the whole scene are kept.
    if (!covered.IsEmpty()) scene.covered = covered;
    return true;
}

} // namespace rasterhost
