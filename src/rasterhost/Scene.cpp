#include "rasterhost/Scene.h"

#include "fundament/Text.h"

#include <gdal_priv.h>

#include <algorithm>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

bool OpenPan(const SharpenRequest& request, Scene& scene, Status& status) {
    scene.pan = InputImage::Open({request.pan}, "pan", status);
    if (!scene.pan) return false;
    if (scene.pan->GetBands().size() == 1) return true;
    return Fail(status, HostStatus::InputNotSupported,
                FormatString("the pan file %s has %d bands; name the panchromatic one, as in FILE,band=1 (or "
                             "were pan and multispectral swapped?)",
                             scene.pan->GetName().c_str(), static_cast<int>(scene.pan->GetBands().size())));
}

/// The bands to write first, then those that only take part in the weighted sum.
bool OrderBands(const std::vector<int>& wanted, Scene& scene, Status& status) {
    const std::size_t count = scene.multispectral->GetBands().size();
    for (const int number : wanted) {
        if (number < 1 || static_cast<std::size_t>(number) > count)
            return Fail(status, HostStatus::RequestInvalid,
                        FormatString("there is no band %d to write; the multispectral bands are 1 to %d",
                                     number, static_cast<int>(count)));
        const auto position = static_cast<std::size_t>(number - 1);
        if (std::find(scene.bandOrder.begin(), scene.bandOrder.end(), position) != scene.bandOrder.end())
            return Fail(status, HostStatus::RequestInvalid,
                        FormatString("band %d is asked for twice; name every band to write once", number));
        scene.bandOrder.push_back(position);
    }
    scene.outputBands = static_cast<std::uint32_t>(wanted.empty() ? count : wanted.size());
    for (std::size_t position = 0; position < count; ++position)
        if (std::find(scene.bandOrder.begin(), scene.bandOrder.end(), position) == scene.bandOrder.end())
            scene.bandOrder.push_back(position);
    scene.multispectral->Reorder(scene.bandOrder);
    return true;
}

void WarnOfTransparency(const Scene& scene, const Warn& warn) {
    for (const SourceBand& source : scene.multispectral->GetBands())
        if (source.band->GetColorInterpretation() == GCI_AlphaBand)
            warn(FormatString(
                "band %d of '%s' is marked as transparency; it is fused like any other band: name "
                "the bands to use, as in FILE,band=1, if it is one",
                source.number, source.file.c_str()));
}

bool MatchGeoreferencing(Scene& scene, const Warn& warn, Status& status) {
    InputImage& pan = *scene.pan;
    InputImage& ms = *scene.multispectral;
    if (pan.IsGeoreferenced() != ms.IsGeoreferenced())
        return Fail(status, HostStatus::InputsDoNotFit,
                    FormatString("%s is georeferenced and %s is not; give both a position, or take it from "
                                 "both, with gdal_edit.py -a_ullr or -unsetgt",
                                 (pan.IsGeoreferenced() ? pan : ms).GetName().c_str(),
                                 (pan.IsGeoreferenced() ? ms : pan).GetName().c_str()));
    if (!pan.IsGeoreferenced()) {
        ms.SpreadOver(pan.GetInfo());
        warn(FormatString("neither %s nor %s is georeferenced: the same corner and extent are assumed, so a "
                          "multispectral pixel is %.6g x %.6g pan pixels",
                          pan.GetName().c_str(), ms.GetName().c_str(), ms.GetInfo().pixelSizeX,
                          ms.GetInfo().pixelSizeY));
    }
    if (!IsSameProjection(pan.GetProjection(), ms.GetProjection()))
        return Fail(status, HostStatus::InputsDoNotFit,
                    FormatString("%s and %s have different projections; bring the multispectral image into "
                                 "pan's with gdalwarp -t_srs",
                                 pan.GetName().c_str(), ms.GetName().c_str()));
    return true;
}

bool PlaceImages(Scene& scene, const Warn& warn, Status& status) {
    const RasterInfo& pan = scene.pan->GetInfo();
    const RasterInfo& ms = scene.multispectral->GetInfo();
    const std::string panName = scene.pan->GetName();
    const std::string msName = scene.multispectral->GetName();
    if (pan.bitsPerBand != ms.bitsPerBand)
        return Fail(status, HostStatus::InputsDoNotFit,
                    FormatString("%s has %u bits per sample and %s has %u; convert one of them with "
                                 "gdal_translate -ot",
                                 panName.c_str(), pan.bitsPerBand, msName.c_str(), ms.bitsPerBand));
    constexpr double noise = 1e-6;
    if (ms.pixelSizeX < pan.pixelSizeX * (1.0 - noise) || ms.pixelSizeY < pan.pixelSizeY * (1.0 - noise))
        return Fail(
            status, HostStatus::InputsDoNotFit,
            FormatString("the multispectral pixels of %s (%.6g x %.6g) are smaller than the pan pixels "
                         "of %s (%.6g x %.6g); are the two swapped?",
                         msName.c_str(), ms.pixelSizeX, ms.pixelSizeY, panName.c_str(), pan.pixelSizeX,
                         pan.pixelSizeY));
    if (pan.xMin >= ms.xMax || ms.xMin >= pan.xMax || pan.yMin >= ms.yMax || ms.yMin >= pan.yMax)
        return Fail(
            status, HostStatus::InputsDoNotFit,
            FormatString("%s (x %.10g to %.10g, y %.10g to %.10g) and %s (x %.10g to %.10g, y %.10g to "
                         "%.10g) do not overlap; are they of the same scene?",
                         panName.c_str(), pan.xMin, pan.xMax, pan.yMin, pan.yMax, msName.c_str(), ms.xMin,
                         ms.xMax, ms.yMin, ms.yMax));
    scene.placement = hostkit::PlaceGrids(pan, ms);
    scene.covered = hostkit::CoveredRect(scene.placement, pan, ms);
    const double all = static_cast<double>(pan.cols) * pan.rows;
    const double bare = all - static_cast<double>(scene.covered.GetColumns()) * scene.covered.GetRows();
    if (bare > 0.0)
        warn(FormatString("%.0f pan pixels (%.3g %%) lie more than one multispectral pixel outside %s; they "
                          "become 0 in the output",
                          bare, 100.0 * bare / all, msName.c_str()));
    return true;
}

} // namespace

std::unique_ptr<Scene> OpenScene(const SharpenRequest& request, const Warn& warn, Status& status) {
    auto scene = std::make_unique<Scene>();
    if (request.infrared) {
        Fail(status, HostStatus::RequestInvalid,
             "an infrared band cannot be added yet; give it as one more multispectral band");
        return nullptr;
    }
    if (!OpenPan(request, *scene, status)) return nullptr;
    scene->multispectral = InputImage::Open(request.multispectral, "multispectral", status);
    if (!scene->multispectral || !OrderBands(request.bands, *scene, status) ||
        !MatchGeoreferencing(*scene, warn, status) || !PlaceImages(*scene, warn, status))
        return nullptr;
    WarnOfTransparency(*scene, warn);
    return scene;
}

} // namespace rasterhost
