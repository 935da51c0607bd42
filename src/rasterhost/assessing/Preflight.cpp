#include "rasterhost/assessing/Preflight.h"

#include "fundament/Text.h"
#include "hostkit/PluginLibrary.h"
#include "rasterhost/fitting/SceneSurvey.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/fusing/RunPlan.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/writing/OutputCheck.h"
#include "rasterhost/writing/OutputPlan.h"

#include <gdal_priv.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

constexpr double leastShift = 0.1;
constexpr double muchSaturated = 0.01;

std::string ProjectionText(const OGRSpatialReference& projection) {
    if (projection.IsEmpty()) return {};
    const char* name = projection.GetName();
    const char* authority = projection.GetAuthorityName(nullptr);
    const char* code = projection.GetAuthorityCode(nullptr);
    std::string text = name ? name : "unnamed";
    if (authority && code) text += FormatString(" (%s:%s)", authority, code);
    return text;
}

std::vector<std::string> NoDataTexts(const InputImage& image) {
    std::vector<std::string> texts;
    const auto add = [&](const std::string& text) {
        if (std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
    };
    for (const SourceBand& source : image.GetDescription()->bands) {
        if (source.noData) add(FormatString("the value %d", *source.noData));
        if (source.mask != MaskKind::None)
            add(source.mask == MaskKind::Transparency ? "transparency" : "a mask");
    }
    if (image.GetDescription()->collar) add("a collar of zeros along the edge");
    return texts;
}

/// `info` gives position and pixel size in the map units of pan.
ImageFacts DescribeImage(const InputImage& image, const RasterInfo& info, bool runsAlong) {
    ImageFacts facts;
    facts.name = image.GetName();
    facts.columns = info.cols;
    facts.rows = info.rows;
    facts.bands = info.bandsPerPixel;
    const bool isSigned = image.GetDescription()->bands.front().type == GDT_Int16;
    facts.sampleType = FormatString("%u bits %s", info.bitsPerBand, isSigned ? "signed" : "unsigned");
    facts.projection = ProjectionText(image.GetDescription()->projection);
    if (image.GetDescription()->IsGeoreferenced() && image.GetDescription()->isNorthUp && runsAlong)
        facts.extent = std::array{info.xMin, info.yMax, info.xMax, info.yMin};
    facts.pixelSizeX = info.pixelSizeX;
    facts.pixelSizeY = info.pixelSizeY;
    facts.noData = NoDataTexts(image);
    return facts;
}

void AddTally(const ImageTally& tally, ImageFacts& facts) {
    facts.seen = tally.pixels;
    if (tally.pixels == 0) return;
    if (tally.withoutData < tally.pixels) {
        facts.largest = tally.largest;
        facts.bitDepth = static_cast<std::uint32_t>(std::bit_width(tally.largest));
    }
    const auto all = static_cast<double>(tally.pixels);
    facts.withoutData = static_cast<double>(tally.withoutData) / all;
    facts.saturated = static_cast<double>(tally.saturated) / all;
}

/// "0.30 to the right and 0.45 up".
std::string WhereText(const Shift& shift) {
    return FormatString("%.2f %s and %.2f %s", std::fabs(shift.displacement.x),
                        shift.displacement.x < 0.0 ? "to the left" : "to the right",
                        std::fabs(shift.displacement.y), shift.displacement.y < 0.0 ? "up" : "down");
}

std::string ShiftWarning(const Shift& shift, const PlacedImage& placed) {
    const InputImage& multispectral = *placed.image;
    std::string text =
        FormatString("the content of %s is displaced by %s, in its pixels (%u windows agree to %.2f): from "
                     "about 0.3 fusing does more harm than good",
                     multispectral.GetName().c_str(), WhereText(shift).c_str(), shift.windows, shift.spread);
    if (!multispectral.GetDescription()->IsGeoreferenced() || !multispectral.GetDescription()->isNorthUp ||
        !placed.placement->RunsAlong())
        return text +
               FormatString("; fuse with --shift %.2f,%.2f", shift.displacement.x, shift.displacement.y);
    const RasterInfo info = placed.GetInfo();
    const double x = -shift.displacement.x * info.pixelSizeX, y = shift.displacement.y * info.pixelSizeY;
    return text + FormatString("; correct it with gdal_translate -a_ullr %.10g %.10g %.10g %.10g, or fuse "
                               "with --shift %.2f,%.2f",
                               info.xMin + x, info.yMax + y, info.xMax + x, info.yMin + y,
                               shift.displacement.x, shift.displacement.y);
}

/// The share of pan that the other images cover.
double FindOverlap(const Scene& scene) {
    const RasterInfo& pan = scene.pan->GetInfo();
    double left = pan.xMin, right = pan.xMax, bottom = pan.yMin, top = pan.yMax;
    for (const PlacedImage& coarse : scene.images) {
        const RasterInfo info = coarse.GetInfo();
        left = std::max(left, info.xMin);
        right = std::min(right, info.xMax);
        bottom = std::max(bottom, info.yMin);
        top = std::min(top, info.yMax);
    }
    const double common = std::max(right - left, 0.0) * std::max(top - bottom, 0.0);
    return common / ((pan.xMax - pan.xMin) * (pan.yMax - pan.yMin));
}

/// One check of a pair, from the opened scene to the warnings.
class PreflightRun {
public:
    PreflightRun(const SharpenRequest& sharpenRequest, PreflightReport& preflightReport,
                 Status& preflightStatus, const SceneFindings* knownFindings)
        : request(sharpenRequest), report(preflightReport), status(preflightStatus), known(knownFindings) {}

    bool Run() {
        const Preparation preparation = Prepare(
            request, request, [this](const std::string& text) { sceneWarnings.push_back(text); }, pair,
            status);
        scene = pair.scene.get();
        if (!pair.plugin) return false;
        const PansharpDescription& plugin = pair.plugin->GetDescription();
        const bool works = preparation == Preparation::Done &&
                           MakeSettings(request, *scene, plugin, nullptr, settings, status);
        if (works) settings.Narrow(*scene);
        if (scene) DescribeGrids();
        if (!works) {
            report.warnings = sceneWarnings;
            return false;
        }
        const RunSizes sizes = FindSizes(request, plugin); // while the request has no fitted weights yet
        const bool isSampled =
            SampleImages(WantsFit(request, plugin)) && (!WantsDetail(request, plugin) || FindDetail());
        if (isSampled && MakeSettings(request, *scene, plugin, report.detail ? &*report.detail : nullptr,
                                      settings, status))
            DescribeRun(sizes);
        Warn();
        return isSampled && fits;
    }

private:
    void DescribeGrids() {
        const RasterInfo& pan = scene->pan->GetInfo();
        const RasterInfo ms = scene->GetMultispectral().GetInfo();
        report.pan = DescribeImage(*scene->pan, pan, true);
        for (const PlacedImage& coarse : scene->images)
            report.images.push_back(
                {DescribeImage(*coarse.image, coarse.GetInfo(), coarse.placement->RunsAlong()), coarse.role});
        report.ratioX = ms.pixelSizeX / pan.pixelSizeX;
        report.ratioY = ms.pixelSizeY / pan.pixelSizeY;
        report.overlap = FindOverlap(*scene);
        const hostkit::GridMap across{(ms.xMin - pan.xMin) / pan.pixelSizeX, report.ratioX};
        const hostkit::GridMap down{(pan.yMax - ms.yMax) / pan.pixelSizeY, report.ratioY};
        report.corner = {across.At(0.0), down.At(0.0)};
        for (std::size_t axis = 0; axis < 2; ++axis)
            report.phase[axis] = report.corner[axis] - std::ceil(report.corner[axis] - 0.5);
    }

    bool SampleImages(bool wantsFit) {
        WeightFit fit;
        SceneTally tally;
        std::optional<double> fixed;
        if (wantsFit) fixed = request.infraredWeight;
        if (!FitWeights(*scene, {request.bitDepth, fixed}, fit, &tally, status) ||
            !MeasureShift(*scene, request.bitDepth, report.shift, status))
            return false;
        AddTally(tally.pan, report.pan);
        for (std::size_t i = 0; i < tally.images.size(); ++i)
            AddTally(tally.images[i], report.images[i]);
        obstacle = fit.obstacle;
        if (fit.weights.empty()) return true;
        if (wantsFit && fit.obstacle.empty()) {
            request.weights = fit.weights;
            request.infraredWeight = fit.infraredWeight;
        }
        report.fit = std::move(fit);
        return true;
    }

    bool FindDetail() {
        if (known && known->detail) {
            report.detail = known->detail;
            return true;
        }
        report.detail.emplace();
        return FitDetail(*scene, request, request.bitDepth, *report.detail, status);
    }

    void DescribeRun(const RunSizes& sizes) {
        const auto format = FindFormat(request, status);
        OutputPlan plan =
            PlanOutput(request, format.value_or(OutputFormat()), *scene, ChooseThreads(request));
        report.method = settings.method;
        report.effectiveWeights = settings.effectiveWeights;
        report.infraredWeight = settings.infraredWeight;
        report.outputColumns = plan.columns;
        report.outputRows = plan.rows;
        report.outputBands = scene->outputBands;
        report.outputBytes = plan.GetBytes();
        fits = format && (request.output.empty() || PrepareOutput(request, *scene, plan, status)) &&
               CheckMemory(request, *scene, plan, sizes, status);
        report.memoryBytes = EstimateMemory(*scene, plan, sizes);
    }

    /// Collects warnings, the most serious first.
    void Warn() {
        std::vector<std::string>& warnings = report.warnings;
        if (report.shift && report.shift->IsAgreed() && report.shift->GetLength() >= leastShift)
            warnings.push_back(ShiftWarning(*report.shift, scene->GetMultispectral()));
        const bool isWeighed = !report.detail;
        if (isWeighed && !obstacle.empty()) warnings.push_back(obstacle + "; equal weights are used");
        if (isWeighed && report.fit && obstacle.empty())
            for (const std::string& warning : JudgeFit(*scene, *report.fit))
                warnings.push_back(warning);
        if (report.detail)
            for (const std::string& warning : JudgeDetail(*report.detail))
                warnings.push_back(warning);
        warnings.insert(warnings.end(), sceneWarnings.begin(), sceneWarnings.end());
        const auto warnOfSaturation = [&](const ImageFacts& facts) {
            if (facts.saturated >= muchSaturated)
                warnings.push_back(
                    FormatString("%.1f %% of the pixels of %s are saturated: brighter values are lost there",
                                 100.0 * facts.saturated, facts.name.c_str()));
        };
        warnOfSaturation(report.pan);
        for (const CoarseFacts& facts : report.images)
            if (facts.role == Role::Multispectral) warnOfSaturation(facts);
    }

    SharpenRequest request; ///< with the chosen weights
    PreflightReport& report;
    Status& status;
    const SceneFindings* known; ///< null when nothing is known
    PreparedPair pair;
    Scene* scene = nullptr; ///< of the pair; null until it is open
    ProcessSettings settings;
    std::vector<std::string> sceneWarnings;
    std::string obstacle;
    bool fits = false; ///< whether settings and memory are accepted
};

} // namespace

bool Preflight(const SharpenRequest& request, PreflightReport& report, Status& status,
               const SceneFindings* known) {
    report = {};
    double seconds = 0.0;
    const bool isDone =
        RunOperation([&] { return PreflightRun(request, report, status, known).Run(); }, seconds, status);
    report.seconds = seconds;
    return isDone;
}

} // namespace rasterhost
