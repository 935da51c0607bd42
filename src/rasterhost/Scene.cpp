#include "rasterhost/Scene.h"

#include "fundament/Text.h"
#include "hostkit/RequestRecord.h"
#include "rasterhost/BandGrids.h"
#include "rasterhost/DataCheck.h"
#include "rasterhost/GridTransform.h"
#include "rasterhost/ScenePart.h"
#include "rasterhost/Shift.h"

#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

bool OpenPan(const PairRequest& request, Scene& scene, Status& status) {
    scene.pan = InputImage::Open({request.pan}, "pan", scene.sampleOptions, status);
    if (!scene.pan) return false;
    if (scene.pan->GetBands().size() == 1) return true;
    return Fail(status, HostStatus::InputNotSupported,
                FormatString("the pan file %s has %d bands; name the panchromatic one, as in FILE,band=1 (or "
                             "were pan and multispectral swapped?)",
                             scene.pan->GetName().c_str(), static_cast<int>(scene.pan->GetBands().size())));
}

void WarnOfTransparency(const Scene& scene, const Warn& warn) {
    for (std::size_t band = 0; band < scene.bandOrder.size(); ++band)
        if (const SourceBand& source = scene.GetBand(band);
            source.band->GetColorInterpretation() == GCI_AlphaBand)
            warn(FormatString(
                "band %d of '%s' is marked as transparency and holds more than 0 and the largest value: it "
                "is "
                "fused like any other band; name the bands to use, as in FILE,band=1, if it is transparency",
                source.number, source.file.c_str()));
}

bool MatchGeoreferencing(const InputImage& pan, InputImage& coarse, const char* role, bool isSameCorner,
                         const Warn& warn, Status& status) {
    if (isSameCorner) {
        coarse.SpreadOver(pan.GetInfo());
        return true;
    }
    if (pan.IsGeoreferenced() != coarse.IsGeoreferenced())
        return Fail(status, HostStatus::InputsDoNotFit,
                    FormatString("%s is georeferenced and %s is not; give both a position, or take it from "
                                 "both, with gdal_edit.py -a_ullr or -unsetgt",
                                 (pan.IsGeoreferenced() ? pan : coarse).GetName().c_str(),
                                 (pan.IsGeoreferenced() ? coarse : pan).GetName().c_str()));
    if (!pan.IsGeoreferenced()) {
        coarse.SpreadOver(pan.GetInfo());
        warn(FormatString("neither %s nor %s is georeferenced: the same corner and extent are assumed, so "
                          "%s pixel is %.6g x %.6g pan pixels",
                          pan.GetName().c_str(), coarse.GetName().c_str(), role, coarse.GetInfo().pixelSizeX,
                          coarse.GetInfo().pixelSizeY));
    }
    if (pan.IsGeoreferenced() && pan.GetProjection().IsEmpty() != coarse.GetProjection().IsEmpty())
        warn(FormatString("%s has no projection; its coordinates are taken to be in that of %s",
                          (pan.GetProjection().IsEmpty() ? pan : coarse).GetName().c_str(),
                          (pan.GetProjection().IsEmpty() ? coarse : pan).GetName().c_str()));
    return (pan.IsNorthUp() && coarse.IsNorthUp() &&
            IsSameProjection(pan.GetProjection(), coarse.GetProjection())) ||
           PlaceByTransform(pan, coarse, status);
}

bool CheckFit(const InputImage& panImage, const InputImage& coarseImage, Status& status) {
    const RasterInfo& pan = panImage.GetInfo();
    const RasterInfo& coarse = coarseImage.GetInfo();
    const std::string panName = panImage.GetName();
    const std::string name = coarseImage.GetName();
    if (pan.bitsPerBand != coarse.bitsPerBand)
        return Fail(status, HostStatus::InputsDoNotFit,
                    FormatString("%s has %u bits per sample and %s has %u; convert one of them with "
                                 "gdal_translate -ot",
                                 panName.c_str(), pan.bitsPerBand, name.c_str(), coarse.bitsPerBand));
    constexpr double noise = 1e-6;
    if (coarse.pixelSizeX < pan.pixelSizeX * (1.0 - noise) ||
        coarse.pixelSizeY < pan.pixelSizeY * (1.0 - noise))
        return Fail(status, HostStatus::InputsDoNotFit,
                    FormatString("the pixels of %s (%.6g x %.6g) are smaller than the pan pixels of %s "
                                 "(%.6g x %.6g); are the two swapped?",
                                 name.c_str(), coarse.pixelSizeX, coarse.pixelSizeY, panName.c_str(),
                                 pan.pixelSizeX, pan.pixelSizeY));
    if (pan.xMin >= coarse.xMax || coarse.xMin >= pan.xMax || pan.yMin >= coarse.yMax ||
        coarse.yMin >= pan.yMax)
        return Fail(
            status, HostStatus::InputsDoNotFit,
            FormatString("%s (x %.10g to %.10g, y %.10g to %.10g) and %s (x %.10g to %.10g, y %.10g to "
                         "%.10g) do not overlap; are they of the same scene?",
                         panName.c_str(), pan.xMin, pan.xMax, pan.yMin, pan.yMax, name.c_str(), coarse.xMin,
                         coarse.xMax, coarse.yMin, coarse.yMax));
    return true;
}

/// Narrows the covered pixels of the part down to those with data in one more image.
bool CoverBy(const InputImage& coarse, Scene& scene, const Warn& warn, Status& status) {
    if (coarse.GetMap()) return true; // pixel by pixel
    const RasterInfo& pan = scene.pan->GetInfo();
    const hostkit::PixelRect has =
        hostkit::CoveredRect(hostkit::PlaceGrids(pan, coarse.GetInfo()), pan, coarse.GetInfo());
    hostkit::PixelRect& covered = scene.covered;
    covered = {std::max(covered.col0, has.col0), std::max(covered.row0, has.row0),
               std::min(covered.col1, has.col1), std::min(covered.row1, has.row1)};
    if (covered.IsEmpty())
        return Fail(status, HostStatus::InputsDoNotFit,
                    FormatString("%s has no data for %s; are the inputs of the same scene?",
                                 coarse.GetName().c_str(),
                                 scene.part == hostkit::WholeImage(pan) ? scene.pan->GetName().c_str()
                                                                        : "the part asked for"));
    const auto area = [](const hostkit::PixelRect& rect) {
        return static_cast<double>(rect.GetColumns()) * rect.GetRows();
    };
    const hostkit::PixelRect& part = scene.part;
    const hostkit::PixelRect within = {std::max(part.col0, has.col0), std::max(part.row0, has.row0),
                                       std::min(part.col1, has.col1), std::min(part.row1, has.row1)};
    const double bare = area(part) - (within.IsEmpty() ? 0.0 : area(within));
    if (bare > 0.0)
        warn(FormatString(
            "%.0f pan pixels (%.3g %%) lie more than one pixel of it outside %s; they have no data in "
            "the output",
            bare, 100.0 * bare / area(part), coarse.GetName().c_str()));
    return true;
}

bool PlaceImage(const PairRequest& request, InputImage& coarse, const char* role, const Scene& scene,
                const Warn& warn, Status& status) {
    return MatchGeoreferencing(*scene.pan, coarse, role, request.sameCorner, warn, status) &&
           CheckFit(*scene.pan, coarse, status);
}

/// A way on an image, in its pixels.
struct Way {
    double right = 0.0, below = 0.0;
};

/// How far one pan pixel across goes on an image that has a map, and one down, in the middle of pan.
std::array<Way, 2> WaysOfPanPixel(const RasterInfo& pan, const InputImage& image) {
    if (!image.GetMap())
        return {{{pan.pixelSizeX / image.GetInfo().pixelSizeX, 0.0},
                 {0.0, pan.pixelSizeY / image.GetInfo().pixelSizeY}}};
    const std::uint32_t column = (pan.cols - 1) / 2, row = (pan.rows - 1) / 2;
    std::array<hostkit::PixelMap::Position, 2> here{}, below{};
    image.GetMap()->FindRow(row, column, column + 2, here.data());
    image.GetMap()->FindRow(row + 1, column, column + 1, below.data());
    return {
        {{here[1].x - here[0].x, here[1].y - here[0].y}, {below[0].x - here[0].x, below[0].y - here[0].y}}};
}

/// A way on the multispectral image (on the first of its grids) as one on another image, over the same
/// ground.
Way WayOn(const InputImage& image, const Way& way, const Scene& scene) {
    const RasterInfo& pan = scene.pan->GetInfo();
    const InputImage& first = *scene.multispectral;
    const Way bySize{way.right * (first.GetInfo().pixelSizeX / image.GetInfo().pixelSizeX),
                     way.below * (first.GetInfo().pixelSizeY / image.GetInfo().pixelSizeY)};
    const bool isAlong = &image == &first || (!first.GetMap() && !image.GetMap());
    if (isAlong || pan.cols < 2 || pan.rows < 2) return bySize;
    const auto [across, down] = WaysOfPanPixel(pan, first);
    const auto [ownAcross, ownDown] = WaysOfPanPixel(pan, image);
    const double determinant = across.right * down.below - down.right * across.below;
    const double panRight = (way.right * down.below - way.below * down.right) / determinant;
    const double panBelow = (way.below * across.right - way.right * across.below) / determinant;
    const Way turned{panRight * ownAcross.right + panBelow * ownDown.right,
                     panRight * ownAcross.below + panBelow * ownDown.below};
    // The middle of pan may have no place on the image.
    return std::isfinite(turned.right) && std::isfinite(turned.below) ? turned : bySize;
}

/// Moves the content of images over the same ground, by a way on the multispectral image.
void MoveTogether(const std::vector<InputImage*>& images, const Way& way, const Scene& scene) {
    for (InputImage* image : images) {
        const Way own = WayOn(*image, way, scene);
        image->MoveContent(own.right, own.below);
    }
}

bool OpenMultispectral(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    std::vector<BandGrid> grids;
    if (!OpenGrids(request.multispectral, scene.sampleOptions, grids, status) ||
        !OrderBands(request.bands, grids, scene, status))
        return false;
    for (const BandGrid& grid : grids)
        if (!PlaceImage(request, *grid.image, "a multispectral", scene, warn, status)) return false;
    TakeGrids(std::move(grids), scene);
    MoveTogether(scene.GetGrids(), {request.shift[0], request.shift[1]}, scene);
    for (const InputImage* image : scene.GetGrids())
        if (!CoverBy(*image, scene, warn, status)) return false;
    return true;
}

bool OpenInfrared(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    scene.infrared = InputImage::Open({*request.infrared}, "infrared", scene.sampleOptions, status);
    if (!scene.infrared) return false;
    if (scene.infrared->GetBands().size() != 1)
        return Fail(status, HostStatus::InputNotSupported,
                    FormatString("the infrared file %s has %d bands; name one, as in FILE,band=1",
                                 scene.infrared->GetName().c_str(),
                                 static_cast<int>(scene.infrared->GetBands().size())));
    if (!PlaceImage(request, *scene.infrared, "an infrared", scene, warn, status)) return false;
    MoveTogether({scene.infrared.get()}, {request.shift[0], request.shift[1]}, scene);
    return CoverBy(*scene.infrared, scene, warn, status);
}

/// The process takes so many bands. It looks each up by its name, which takes long for more.
bool CheckBandCount(const Scene& scene, Status& status) {
    constexpr std::size_t mostBands = 4096;
    std::size_t count = scene.bandOrder.size() + (scene.infrared ? 1 : 0);
    return count <= mostBands ||
           Fail(status, HostStatus::InputNotSupported,
                FormatString("there are %lu multispectral and infrared bands, and %lu can be fused at a "
                             "time; name those to fuse, as in FILE,band=1",
                             static_cast<unsigned long>(count), static_cast<unsigned long>(mostBands)));
}

bool CheckNoData(const PairRequest& request, const Scene& scene, Status& status) {
    if (!request.noData) return true;
    std::vector<const InputImage*> images{scene.pan.get()};
    for (const InputImage* image : scene.GetCoarseImages())
        images.push_back(image);
    return CheckNoDataValue(*request.noData, images, status);
}

/// What the results may reach: the request's depth, or the greatest that an input uses.
bool FindDepth(const PairRequest& request, Scene& scene, Status& status) {
    const std::uint32_t bits = scene.pan->GetInfo().bitsPerBand;
    if (request.bitDepth && request.scale)
        return Fail(status, HostStatus::RequestInvalid,
                    "scaled samples use all 16 bits; a bit depth cannot be asked for beside a scale");
    if (request.bitDepth && bits != 16)
        return Fail(
            status, HostStatus::RequestInvalid,
            FormatString("a bit depth of %d was asked for, and %s has %u bits per sample; --bit-depth is "
                         "for 16-bit files",
                         *request.bitDepth, scene.pan->GetName().c_str(), bits));
    scene.bitDepth = scene.pan->GetBitDepth();
    for (const InputImage* image : scene.GetCoarseImages())
        scene.bitDepth = std::max(scene.bitDepth, image->GetBitDepth());
    if (request.bitDepth) scene.bitDepth = static_cast<std::uint32_t>(*request.bitDepth);
    return true;
}

/// Measures how far the multispectral content lies from its place and moves it there.
bool CorrectShift(const PairRequest& request, Scene& scene, const Warn& warn, Status& status) {
    std::optional<Shift> shift;
    if (!MeasureShift(scene, request.bitDepth, shift, status)) return false;
    if (!shift || !shift->IsAgreed()) {
        warn("the shift between pan and the multispectral image cannot be measured; it is left as it is");
        return true;
    }
    scene.covered = scene.part;
    MoveTogether(scene.GetCoarseImages(), {shift->right, shift->below}, scene);
    for (const InputImage* image : scene.GetCoarseImages())
        if (!CoverBy(
                *image, scene, [](const std::string&) {}, status))
            return false;
    warn(FormatString(
        "the content of %s lies (%.2f, %.2f) of its pixels right of and below its place; that is "
        "corrected",
        scene.multispectral->GetName().c_str(), shift->right, shift->below));
    return true;
}

bool FindResampling(const PairRequest& request, Scene& scene, Status& status) {
    if (request.resampling == "cubic") scene.resampling = hostkit::Resampling::Cubic;
    return request.resampling == "bilinear" || request.resampling == "cubic" ||
           Fail(status, HostStatus::RequestInvalid,
                FormatString("there is no resampling '%s'; bilinear and cubic are there",
                             request.resampling.c_str()));
}

} // namespace

std::vector<InputImage*> Scene::GetGrids() const {
    std::vector<InputImage*> grids{multispectral.get()};
    for (const auto& other : otherGrids)
        grids.push_back(other.get());
    return grids;
}

std::vector<InputImage*> Scene::GetCoarseImages() const {
    std::vector<InputImage*> images = GetGrids();
    if (infrared) images.push_back(infrared.get());
    return images;
}

bool Scene::MayLackData() const {
    const std::vector<InputImage*> coarse = GetCoarseImages();
    return covered != part || pan->MayLackData() ||
           std::any_of(coarse.begin(), coarse.end(),
                       [](const InputImage* image) { return image->GetMap() || image->MayLackData(); });
}

std::unique_ptr<Scene> OpenScene(const PairRequest& request, const Warn& warn, Status& status) {
    auto scene = std::make_unique<Scene>();
    scene->sampleOptions = {request.noData, request.ignoreNoData, {}};
    if (request.scale) scene->sampleOptions.scale = SampleScale{(*request.scale)[0], (*request.scale)[1]};
    if (!FindResampling(request, *scene, status) || !OpenPan(request, *scene, status) ||
        !ChoosePart(request, *scene, warn, status))
        return nullptr;
    scene->covered = scene->part;
    if (!OpenMultispectral(request, *scene, warn, status)) return nullptr;
    if (request.infrared && !OpenInfrared(request, *scene, warn, status)) return nullptr;
    if (!CheckBandCount(*scene, status) || !CheckNoData(request, *scene, status) ||
        !FindDepth(request, *scene, status) ||
        (request.measureShift && !CorrectShift(request, *scene, warn, status)))
        return nullptr;
    if (request.onlyIntersection && !CutToIntersection(*scene, status)) return nullptr;
    WarnOfTransparency(*scene, warn);
    return scene;
}

} // namespace rasterhost
