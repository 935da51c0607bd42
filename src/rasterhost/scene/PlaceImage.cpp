#include "rasterhost/scene/PlaceImage.h"

#include "fundament/Text.h"
#include "hostkit/AxisPlacement.h"
#include "rasterhost/scene/GridTransform.h"

namespace rasterhost {

using hostkit::AxisPlacement;
using hostkit::Placement;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// Stretches an image over the extent of pan.
std::unique_ptr<AxisPlacement> SpreadOver(const RasterInfo& pan, RasterInfo coarse) {
    coarse.xMin = pan.xMin;
    coarse.xMax = pan.xMax;
    coarse.yMin = pan.yMin;
    coarse.yMax = pan.yMax;
    coarse.pixelSizeX = (coarse.xMax - coarse.xMin) / coarse.cols;
    coarse.pixelSizeY = (coarse.yMax - coarse.yMin) / coarse.rows;
    return std::make_unique<AxisPlacement>(pan, coarse);
}

/// Placement in which the centres of the first pixels coincide, and those of the last. Null unless adjacent
/// centres are a whole number of pan pixels apart, two or more.
std::unique_ptr<AxisPlacement> PlaceByCentres(const RasterInfo& pan, RasterInfo coarse) {
    if (coarse.cols < 2 || coarse.rows < 2) return nullptr;
    const std::uint32_t across = (pan.cols - 1) / (coarse.cols - 1);
    const std::uint32_t down = (pan.rows - 1) / (coarse.rows - 1);
    if (across < 2 || across != down || across * (coarse.cols - 1) != pan.cols - 1 ||
        down * (coarse.rows - 1) != pan.rows - 1)
        return nullptr;
    const double ratio = across;
    coarse.pixelSizeX = pan.pixelSizeX * ratio;
    coarse.pixelSizeY = pan.pixelSizeY * ratio;
    coarse.xMin = pan.xMin - 0.5 * (ratio - 1.0) * pan.pixelSizeX;
    coarse.yMax = pan.yMax + 0.5 * (ratio - 1.0) * pan.pixelSizeY;
    coarse.xMax = coarse.xMin + coarse.cols * coarse.pixelSizeX;
    coarse.yMin = coarse.yMax - coarse.rows * coarse.pixelSizeY;
    return std::make_unique<AxisPlacement>(pan, coarse);
}

std::unique_ptr<Placement> MatchGeoreferencing(const InputImage& pan, const InputImage& coarse,
                                               const char* role, const PairRequest& request, const Warn& warn,
                                               Status& status) {
    if (request.sameCorner) return SpreadOver(pan.GetInfo(), coarse.GetInfo());
    if (request.sameFirstCentre && !pan.GetDescription()->IsGeoreferenced() &&
        !coarse.GetDescription()->IsGeoreferenced())
        if (auto placement = PlaceByCentres(pan.GetInfo(), coarse.GetInfo())) {
            warn(FormatString(
                "neither %s nor %s is georeferenced: their first pixels are assumed to have the same centre, "
                "as in whole products of this kind; --same-corner assumes the same corner instead",
                pan.GetName().c_str(), coarse.GetName().c_str()));
            return placement;
        }
    if (pan.GetDescription()->IsGeoreferenced() != coarse.GetDescription()->IsGeoreferenced()) {
        Fail(status, HostStatus::InputsDoNotFit,
             "%s is georeferenced and %s is not; give both a position with gdal_edit.py -a_ullr, or remove "
             "it from both with -unsetgt",
             (pan.GetDescription()->IsGeoreferenced() ? pan : coarse).GetName().c_str(),
             (pan.GetDescription()->IsGeoreferenced() ? coarse : pan).GetName().c_str());
        return nullptr;
    }
    auto placement = pan.GetDescription()->IsGeoreferenced()
                         ? std::make_unique<AxisPlacement>(pan.GetInfo(), coarse.GetInfo())
                         : SpreadOver(pan.GetInfo(), coarse.GetInfo());
    if (!pan.GetDescription()->IsGeoreferenced()) {
        const RasterInfo info = placement->Describe(coarse.GetInfo());
        warn(FormatString("neither %s nor %s is georeferenced: the same corner and extent are assumed, so "
                          "%s pixel is %.6g x %.6g pan pixels",
                          pan.GetName().c_str(), coarse.GetName().c_str(), role, info.pixelSizeX,
                          info.pixelSizeY));
    } else if (pan.GetDescription()->projection.IsEmpty() != coarse.GetDescription()->projection.IsEmpty()) {
        warn(FormatString("%s has no projection; its coordinates are assumed to be in that of %s",
                          (pan.GetDescription()->projection.IsEmpty() ? pan : coarse).GetName().c_str(),
                          (pan.GetDescription()->projection.IsEmpty() ? coarse : pan).GetName().c_str()));
    }
    if (pan.GetDescription()->isNorthUp && coarse.GetDescription()->isNorthUp &&
        IsSameProjection(pan.GetDescription()->projection, coarse.GetDescription()->projection))
        return placement;
    return PlaceByTransform(pan, coarse, status);
}

/// What to do when the images would overlap if one went round the globe; else the question to ask.
std::string AdviseOnDistance(const OGRSpatialReference& projection, const RasterInfo& pan,
                             const RasterInfo& coarse) {
    constexpr double round = 360.0; // degrees
    const bool overlapsDown = pan.yMin < coarse.yMax && coarse.yMin < pan.yMax;
    for (const double by : {-round, round})
        if (projection.IsGeographic() && overlapsDown && pan.xMin < coarse.xMax + by &&
            coarse.xMin + by < pan.xMax)
            return FormatString("their longitudes differ by 360 degrees: move the second with "
                                "gdal_translate -a_ullr %.12g %.12g %.12g %.12g",
                                coarse.xMin + by, coarse.yMax, coarse.xMax + by, coarse.yMin);
    return "are they of the same scene?";
}

bool CheckFit(const InputImage& panImage, const InputImage& coarseImage, const hostkit::Placement& placement,
              Status& status) {
    const RasterInfo& pan = panImage.GetInfo();
    const RasterInfo coarse = placement.Describe(coarseImage.GetInfo());
    const std::string panName = panImage.GetName();
    const std::string name = coarseImage.GetName();
    if (pan.bitsPerBand != coarse.bitsPerBand)
        return Fail(status, HostStatus::InputsDoNotFit,
                    "%s has %u bits per sample and %s has %u; convert one of them with "
                    "gdal_translate -ot",
                    panName.c_str(), pan.bitsPerBand, name.c_str(), coarse.bitsPerBand);
    constexpr double noise = 1e-6;
    if (coarse.pixelSizeX < pan.pixelSizeX * (1.0 - noise) ||
        coarse.pixelSizeY < pan.pixelSizeY * (1.0 - noise))
        return Fail(status, HostStatus::InputsDoNotFit,
                    "the pixels of %s (%.6g x %.6g) are smaller than the pan pixels of %s "
                    "(%.6g x %.6g); are the two swapped?",
                    name.c_str(), coarse.pixelSizeX, coarse.pixelSizeY, panName.c_str(), pan.pixelSizeX,
                    pan.pixelSizeY);
    constexpr double largestRatio = 10000.0;
    if (!(coarse.pixelSizeX <= pan.pixelSizeX * largestRatio) ||
        !(coarse.pixelSizeY <= pan.pixelSizeY * largestRatio))
        return Fail(status, HostStatus::InputsDoNotFit,
                    "the pixels of %s (%.6g x %.6g) are more than %.0f times as large as the pan pixels of "
                    "%s (%.6g x %.6g); check the georeferencing of both with gdalinfo",
                    name.c_str(), coarse.pixelSizeX, coarse.pixelSizeY, largestRatio, panName.c_str(),
                    pan.pixelSizeX, pan.pixelSizeY);
    if (pan.xMin >= coarse.xMax || coarse.xMin >= pan.xMax || pan.yMin >= coarse.yMax ||
        coarse.yMin >= pan.yMax)
        return Fail(status, HostStatus::InputsDoNotFit,
                    "%s (x %.10g to %.10g, y %.10g to %.10g) and %s (x %.10g to %.10g, y %.10g to "
                    "%.10g) do not overlap; %s",
                    panName.c_str(), pan.xMin, pan.xMax, pan.yMin, pan.yMax, name.c_str(), coarse.xMin,
                    coarse.xMax, coarse.yMin, coarse.yMax,
                    AdviseOnDistance(panImage.GetDescription()->projection, pan, coarse).c_str());
    return true;
}

} // namespace

std::unique_ptr<Placement> PlaceImage(const InputImage& pan, const InputImage& coarse, const char* role,
                                      const PairRequest& request, const Warn& warn, Status& status) {
    auto placement = MatchGeoreferencing(pan, coarse, role, request, warn, status);
    return placement && CheckFit(pan, coarse, *placement, status) ? std::move(placement) : nullptr;
}

} // namespace rasterhost
