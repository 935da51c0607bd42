#include "rasterhost/assessing/Assess.h"

#include "hostkit/RequestRecord.h"
#include "rasterhost/assessing/CompareRows.h"
#include "rasterhost/assessing/PairAssessment.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/requests/CacheLimit.h"
#include "rasterhost/requests/Operation.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace rasterhost {

using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

bool CheckBands(const InputImage& fused, const InputImage& other, const char* role, bool takesList,
                Status& status) {
    const auto count = fused.GetInfo().bandsPerPixel;
    return other.GetInfo().bandsPerPixel == count ||
           Fail(status, HostStatus::InputsDoNotFit,
                "%s has %u bands and the %s image %s has %u; name the same bands in the same "
                "order, as in %sFILE,band=3 FILE,band=2",
                fused.GetName().c_str(), count, role, other.GetName().c_str(), other.GetInfo().bandsPerPixel,
                takesList ? "--bands 3,2 or " : "");
}

/// Checks for the same pixels: size and, if both have one, position.
bool CheckPixels(const InputImage& fused, const InputImage& other, const char* role, Status& status) {
    const RasterInfo& a = fused.GetInfo();
    const RasterInfo& b = other.GetInfo();
    if (a.cols != b.cols || a.rows != b.rows)
        return Fail(status, HostStatus::InputsDoNotFit,
                    "%s has %u x %u pixels and the %s image %s has %u x %u; they must have the same pixels: "
                    "cut the second with gdal_translate -projwin",
                    fused.GetName().c_str(), a.cols, a.rows, role, other.GetName().c_str(), b.cols, b.rows);
    if (!fused.GetDescription()->IsGeoreferenced() || !other.GetDescription()->IsGeoreferenced()) return true;
    constexpr double noise = 0.01; // of a pixel
    const double off =
        std::max(std::fabs(a.xMin - b.xMin) / a.pixelSizeX, std::fabs(a.yMax - b.yMax) / a.pixelSizeY);
    const double far =
        std::max(std::fabs(a.xMax - b.xMax) / a.pixelSizeX, std::fabs(a.yMin - b.yMin) / a.pixelSizeY);
    return (std::max(off, far) <= noise &&
            IsSameProjection(fused.GetDescription()->projection, other.GetDescription()->projection)) ||
           Fail(status, HostStatus::InputsDoNotFit,
                "%s and the %s image %s do not lie at the same place; they must have the same pixels: bring "
                "the second onto the grid of the first with gdalwarp",
                fused.GetName().c_str(), role, other.GetName().c_str());
}

/// One assessment from the opened images to the report.
class Assessment {
public:
    Assessment(const AssessRequest& assessRequest, AssessReport& assessReport, Status& assessStatus)
        : request(assessRequest), report(assessReport), status(assessStatus), blur(assessRequest.blur) {}

    bool Run() {
        SampleOptions options{request.noData, request.ignoreNoData, {}};
        options.takesScale = false;
        fused = InputImage::Open(request.fused, "fused", options, status);
        if (!fused) return false;
        report.columns = fused->GetInfo().cols;
        report.rows = fused->GetInfo().rows;
        report.bands = fused->GetInfo().bandsPerPixel;
        report.ratio = request.ratio;
        if (!request.reference.empty()) return AgainstReference(options);
        return OpenPair() && AgainstPair();
    }

private:
    bool AgainstReference(const SampleOptions& options) {
        const auto truth = InputImage::Open(request.reference, "reference", options, status);
        if (!truth || !CheckPixels(*fused, *truth, "reference", status) ||
            !CheckBands(*fused, *truth, "reference", false, status))
            return false;
        const int threads = StripThreads({fused.get(), truth.get()}, warn);
        const CacheLimit cache(StripCache({fused.get(), truth.get()}, threads));
        quality::ReferenceIndices indices;
        const double ratio = request.ratio.value_or(std::numeric_limits<double>::quiet_NaN());
        if (!CompareRows(RowsOf(*fused), RowsOf(*truth), threads, ratio, indices, status)) return false;
        report.reference = std::move(indices);
        return report.reference->pixels > 0 ||
               Fail(status, HostStatus::InputsDoNotFit,
                    "the images have no pixel with data in both; there is nothing to assess");
    }

    bool OpenPair() {
        PairRequest pair = static_cast<const PairRequest&>(request);
        pair.takesScale = false;
        if (PrepareScene(pair, warn, {}, scene, status) != Preparation::Done || !CheckGrids(*scene, status) ||
            !CheckBlur(request.blur, scene->bandOrder.size(), status))
            return false;
        if (blur.multispectral.size() > 1)
            for (std::size_t place = 0; place < scene->bandOrder.size(); ++place)
                blur.multispectral[place] = request.blur.multispectral[scene->bandOrder[place]];
        scene->KeepFirstBands(scene->outputBands);
        if (blur.multispectral.size() > 1) blur.multispectral.resize(scene->outputBands);
        return CheckPixels(*fused, *scene->pan, "pan", status) &&
               CheckBands(*fused, *scene->GetMultispectral().image, "multispectral", true, status);
    }

    bool AgainstPair() {
        const RasterInfo& pan = scene->pan->GetInfo();
        const PlacedImage& multispectral = scene->GetMultispectral();
        const RasterInfo coarse = multispectral.GetInfo();
        if (!report.ratio)
            report.ratio =
                std::sqrt(coarse.pixelSizeX / pan.pixelSizeX * (coarse.pixelSizeY / pan.pixelSizeY));
        return AssessPair(*scene, *fused, blur, *report.ratio, warn, report.pair, status);
    }

    const AssessRequest& request;
    AssessReport& report;
    const Warn warn = [this](const std::string& text) { report.warnings.push_back(text); };
    Status& status;
    SensorBlur blur; ///< of the bands of the fused image, in its order
    std::unique_ptr<InputImage> fused;
    std::unique_ptr<Scene> scene;
};

} // namespace

bool CheckBlur(const SensorBlur& blur, std::size_t bands, Status& status) {
    const std::string fault = imagery::FindFault(blur, bands);
    return fault.empty() || Fail(status, HostStatus::RequestInvalid, "%s", fault.c_str());
}

bool Assess(const AssessRequest& request, AssessReport& report, Status& status) {
    report = {};
    double seconds = 0.0;
    const bool isDone =
        RunOperation([&] { return Assessment(request, report, status).Run(); }, seconds, status);
    report.seconds = seconds;
    return isDone;
}

} // namespace rasterhost
