#include "rasterhost/scene/Scene.h"

#include "fundament/Text.h"
#include "hostkit/RequestRecord.h"
#include "rasterhost/reading/BandNames.h"
#include "rasterhost/reading/DataCheck.h"
#include "rasterhost/reading/FindScale.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/scene/BandGrids.h"
#include "rasterhost/scene/ScenePart.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace rasterhost {

using hostkit::Point;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

bool OpenPan(const PairRequest& request, Scene& scene, Status& status) {
    scene.pan = InputImage::Open({request.pan}, "pan", scene.sampleOptions, status);
    if (!scene.pan) return false;
    if (scene.pan->GetDescription()->bands.size() == 1) return true;
    return Fail(status, HostStatus::InputNotSupported,
                "the pan file %s has %d bands; name the panchromatic one, as in FILE,band=1 (or "
                "were pan and multispectral swapped?)",
                scene.pan->GetName().c_str(), static_cast<int>(scene.pan->GetDescription()->bands.size()));
}

void WarnOfTransparency(const Scene& scene, const Warn& warn) {
    for (std::size_t band = 0; band < scene.bandOrder.size(); ++band)
        if (const SourceBand& source = scene.GetBand(band); source.colour == GCI_AlphaBand)
            warn(FormatString("band %d of '%s' is marked as transparency and holds other values than 0 and "
                              "the largest: it is fused like any other band; name the bands to use, as in "
                              "FILE,band=1, if it is transparency",
                              source.number, source.file.c_str()));
}

hostkit::PixelRect Intersect(const hostkit::PixelRect& a, const hostkit::PixelRect& b) {
    return {std::max(a.col0, b.col0), std::max(a.row0, b.row0), std::min(a.col1, b.col1),
            std::min(a.row1, b.row1)};
}

/// Restricts the covered pixels of the part to those with data in one more image.
bool CoverBy(const PlacedImage& coarse, Scene& scene, Status& status) {
    const hostkit::PixelRect has = coarse.placement->FindCovered();
    const std::string name = coarse.image->GetName();
    scene.covered = Intersect(scene.covered, has);
    if (scene.covered.IsEmpty())
        return Fail(status, HostStatus::InputsDoNotFit,
                    "%s has no data for %s; are the inputs of the same scene?", name.c_str(),
                    scene.part == hostkit::WholeImage(scene.pan->GetInfo()) ? scene.pan->GetName().c_str()
                                                                            : "the part asked for");
    return true;
}

bool Place(const PairRequest& request, PlacedImage& coarse, const char* role, const Scene& scene,
           const Warn& warn, Status& status) {
    coarse.placement = PlaceImage(*scene.pan, *coarse.image, role, request, warn, status);
    return coarse.placement != nullptr;
}

/// Converts a displacement on the multispectral image (on its first grid) to one on another image, over the
/// same ground.
Point DisplacementOn(const PlacedImage& other, const Point& displacement, const Scene& scene) {
    const RasterInfo& pan = scene.pan->GetInfo();
    const PlacedImage& first = scene.GetMultispectral();
    const RasterInfo own = other.GetInfo(), own1 = first.GetInfo();
    const Point bySize{displacement.x * (own1.pixelSizeX / own.pixelSizeX),
                       displacement.y * (own1.pixelSizeY / own.pixelSizeY)};
    const bool isAlong = &other == &first || (first.placement->RunsAlong() && other.placement->RunsAlong());
    if (isAlong || pan.cols < 2 || pan.rows < 2) return bySize;
    const auto [across, down] = first.placement->FindSteps();
    const auto [ownAcross, ownDown] = other.placement->FindSteps();
    const double determinant = across.x * down.y - down.x * across.y;
    const Point onPan{(displacement.x * down.y - displacement.y * down.x) / determinant,
                      (displacement.y * across.x - displacement.x * across.y) / determinant};
    const Point turned{onPan.x * ownAcross.x + onPan.y * ownDown.x,
                       onPan.x * ownAcross.y + onPan.y * ownDown.y};
    // The middle of pan may have no position on the image.
    return std::isfinite(turned.x) && std::isfinite(turned.y) ? turned : bySize;
}

/// Displaces the content of images over the same ground, given the displacement on the multispectral image.
void MoveTogether(std::span<const PlacedImage> images, const Point& displacement, const Scene& scene) {
    for (const PlacedImage& image : images)
        image.placement->Move(DisplacementOn(image, displacement, scene));
}

bool OpenMultispectral(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    std::vector<PlacedImage> grids;
    if (!OpenGrids(request.multispectral, scene.sampleOptions, grids, status) ||
        !OrderBands(request.bands, grids, scene, status))
        return false;
    for (PlacedImage& grid : grids)
        if (!Place(request, grid, "a multispectral", scene, warn, status)) return false;
    TakeGrids(std::move(grids), scene);
    MoveTogether(scene.images, request.shift, scene);
    return std::all_of(scene.images.begin(), scene.images.end(),
                       [&](const PlacedImage& grid) { return CoverBy(grid, scene, status); });
}

bool OpenInfrared(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    PlacedImage infrared{InputImage::Open({*request.infrared}, "infrared", scene.sampleOptions, status),
                         {},
                         {0},
                         Role::Infrared};
    if (!infrared.image) return false;
    if (infrared.image->GetDescription()->bands.size() != 1)
        return Fail(status, HostStatus::InputNotSupported,
                    "the infrared file %s has %d bands; name one, as in FILE,band=1",
                    infrared.image->GetName().c_str(),
                    static_cast<int>(infrared.image->GetDescription()->bands.size()));
    if (!Place(request, infrared, "an infrared", scene, warn, status)) return false;
    scene.images.push_back(std::move(infrared));
    MoveTogether(std::span(scene.images).last(1), request.shift, scene);
    return CoverBy(scene.images.back(), scene, status);
}

/// Checks the largest number of bands of the process, which looks up each by its name; more would take long.
bool CheckBandCount(const Scene& scene, Status& status) {
    constexpr std::size_t mostBands = 4096;
    const std::size_t count = scene.CountBands();
    return count <= mostBands ||
           Fail(status, HostStatus::InputNotSupported,
                "there are %lu multispectral and infrared bands, but at most %lu can be fused at a time; "
                "name those to fuse, as in FILE,band=1",
                static_cast<unsigned long>(count), static_cast<unsigned long>(mostBands));
}

bool CheckNoData(const PairRequest& request, const Scene& scene, Status& status) {
    if (!request.noData) return true;
    std::vector<const InputImage*> images{scene.pan.get()};
    for (const PlacedImage& coarse : scene.images)
        images.push_back(coarse.image.get());
    return CheckNoDataValue(*request.noData, images, status);
}

/// The depth of the results: that of the request, or the greatest that an input uses.
bool FindDepth(const PairRequest& request, Scene& scene, Status& status) {
    const std::uint32_t bits = scene.pan->GetInfo().bitsPerBand;
    if (request.bitDepth && scene.sampleOptions.scale)
        return Fail(status, HostStatus::RequestInvalid,
                    "scaled samples use all 16 bits; leave out --bit-depth or --scale");
    if (request.bitDepth && bits != 16)
        return Fail(status, HostStatus::RequestInvalid,
                    "a bit depth of %d was asked for, and %s has %u bits per sample; --bit-depth is "
                    "for 16-bit files",
                    *request.bitDepth, scene.pan->GetName().c_str(), bits);
    scene.bitDepth = scene.pan->GetDescription()->GetBitDepth();
    for (const PlacedImage& coarse : scene.images)
        scene.bitDepth = std::max(scene.bitDepth, coarse.image->GetDescription()->GetBitDepth());
    if (request.bitDepth) scene.bitDepth = static_cast<std::uint32_t>(*request.bitDepth);
    return true;
}

} // namespace

std::span<const PlacedImage> Scene::GetGrids() const {
    return std::span(images).first(images.size() - (HasInfrared() ? 1 : 0));
}

bool Scene::MayLackData() const {
    return covered != part || pan->MayLackData() ||
           std::ranges::any_of(GetSources(), &PlacedSource::LeavesGaps);
}

std::vector<PlacedSource> Scene::GetSources() const {
    std::vector<PlacedSource> sources;
    for (const PlacedImage& coarse : images)
        sources.push_back({coarse.image.get(), coarse.placement.get(), coarse.bands, coarse.role});
    return sources;
}

bool MoveScene(const hostkit::Point& displacement, Scene& scene, Status& status) {
    scene.covered = scene.part;
    scene.shift = {scene.shift.x + displacement.x, scene.shift.y + displacement.y};
    MoveTogether(scene.images, displacement, scene);
    return std::all_of(scene.images.begin(), scene.images.end(),
                       [&](const PlacedImage& coarse) { return CoverBy(coarse, scene, status); });
}

void WarnOfBarePixels(const Scene& scene, const Warn& warn) {
    const auto area = [](const hostkit::PixelRect& rect) {
        return rect.IsEmpty() ? 0.0 : static_cast<double>(rect.GetColumns()) * rect.GetRows();
    };
    for (const PlacedImage& coarse : scene.images) {
        const double all = area(scene.part);
        const double bare = all - area(Intersect(scene.part, coarse.placement->FindCovered()));
        if (bare > 0.0)
            warn(FormatString("%.0f pan pixels (%.3g %%) lie outside %s by more than one of its pixels; they "
                              "have no data in the output",
                              bare, 100.0 * bare / all, coarse.image->GetName().c_str()));
    }
}

std::unique_ptr<Scene> OpenScene(const PairRequest& request, const Warn& warn, Status& status) {
    std::vector<std::string> files{request.pan.file};
    for (const InputBand& input : request.multispectral)
        files.push_back(input.file);
    if (request.infrared) files.push_back(request.infrared->file);
    TouchFiles(files);
    auto scene = std::make_unique<Scene>();
    scene->sampleOptions = {request.noData, request.ignoreNoData, {}, nullptr};
    if (!request.transparency.empty())
        scene->sampleOptions.transparency =
            std::make_shared<const std::map<std::string, int>>(request.transparency);
    scene->sampleOptions.takesScale = request.takesScale;
    if (request.scale) scene->sampleOptions.scale = SampleScale{(*request.scale)[0], (*request.scale)[1]};
    if (request.findScale) {
        scene->sampleOptions.scale = FindScale(request, warn, status);
        if (!scene->sampleOptions.scale) return nullptr;
        warn(FormatString("samples are scaled as by --scale %.6g,%.6g, the range found in a part of the "
                          "inputs; to compare scenes, give the same range to all",
                          scene->sampleOptions.scale->least, scene->sampleOptions.scale->greatest));
    }
    scene->resampling = request.resampling;
    if (!OpenPan(request, *scene, status)) return nullptr;
    scene->acquired = request.acquired;
    if (const char* time = scene->pan->GetDataset().GetMetadataItem(acquisitionItem, imageryDomain);
        time && scene->acquired.empty())
        scene->acquired = time;
    if (!ChoosePart(request, *scene, warn, status)) return nullptr;
    scene->covered = scene->part;
    scene->shift = request.shift;
    if (!OpenMultispectral(request, *scene, warn, status)) return nullptr;
    if (request.infrared && !OpenInfrared(request, *scene, warn, status)) return nullptr;
    if (!CheckBandCount(*scene, status) || !CheckNoData(request, *scene, status) ||
        !FindDepth(request, *scene, status))
        return nullptr;
    WarnOfTransparency(*scene, warn);
    return scene;
}

} // namespace rasterhost
