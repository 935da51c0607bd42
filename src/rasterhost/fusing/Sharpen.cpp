#include "rasterhost/fusing/Sharpen.h"

#include "fundament/Text.h"
#include "rasterhost/fusing/FusionFit.h"
#include "rasterhost/fusing/OutputFacts.h"
#include "rasterhost/fusing/RunPlan.h"
#include "rasterhost/fusing/WindowPipeline.h"
#include "rasterhost/requests/CacheLimit.h"
#include "rasterhost/requests/HostProcess.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/writing/ExactFormat.h"
#include "rasterhost/writing/OutputCheck.h"
#include "rasterhost/writing/OutputFile.h"
#include "rasterhost/writing/OutputPlan.h"

#include <gdal_priv.h>

#include <algorithm>
#include <array>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// One run from the opened scene to the finished file.
class SharpenRun {
public:
    SharpenRun(const SharpenRequest& sharpenRequest, const SceneFindings* knownFindings,
               PreparedPair& preparedPair, SharpenReport& sharpenReport, Status& sharpenStatus)
        : request(sharpenRequest), known(knownFindings), pair(preparedPair), report(sharpenReport),
          status(sharpenStatus) {}

    bool Run() {
        const auto format = FindFormat(request, status);
        if (!format) return false;
        report.format = format->name;
        const rasterhost::Warn warn = [this](const std::string& text) { Warn(text); };
        const Preparation preparation = Prepare(request, request, warn, pair, status, known);
        report.cancelled = preparation == Preparation::Cancelled;
        if (preparation != Preparation::Done ||
            !MakeSettings(request, *pair.scene, pair.plugin->GetDescription(), nullptr, settings, status))
            return false;
        settings.Narrow(*pair.scene);
        plan = PlanOutput(request, *format, *pair.scene, ChooseThreads(request));
        // GDAL would wait forever for a thread to compress if it cannot start one.
        if (ReduceThreads()) plan = PlanOutput(request, *format, *pair.scene, 1);
        folder = PrepareOutput(request, *pair.scene, plan, status);
        if (!folder || !CheckMemory(request, *pair.scene, plan, GetSizes(), status)) return false;
        if (const std::string loss = plan.isPicture ? "" : FindLoss(plan, request.output); !loss.empty())
            plan.losses.push_back(loss);
        for (const std::string& loss : plan.losses)
            Warn("the output '" + request.output + "' " + loss);
        if (!FitFusion(request, pair, known, settings, found, warn, status)) return false;
        FillReport(request, pair, settings, found, report);
        if (request.progress && !request.progress(0.0)) return Cancel();
        report.windowRows = ChooseWindowRows(*pair.scene, plan, GetSizes());
        WindowsAhead ahead({pair.scene->part, report.windowRows, report.threads});
        const auto ask = [&](FusionSlot& slot) {
            ahead.Ask(slot);
            ahead.Wait(pair.scene->covered.row0);
        };
        return TryOneRow(*pair.scene, *pair.plugin, settings, status, ask) &&
               DescribeFusion(SourcesOf(*pair.scene), *pair.plugin, settings, found, plan.format.softwareItem,
                              metadata, status) &&
               AddMetadata() && FuseAll(ahead);
    }

private:
    void Warn(const std::string& text) {
        report.warnings.push_back(text);
        if (request.warn) request.warn(text);
    }
    bool AddMetadata() {
        metadata.insert(metadata.end(), request.metadata.begin(), request.metadata.end());
        return true;
    }
    bool Cancel() {
        report.cancelled = true;
        return Fail(status, HostStatus::Cancelled, "cancelled; nothing was written");
    }

    /// Warns when the result has no pixel with data.
    void JudgeResult() {
        const double pixels = static_cast<double>(report.columns) * report.rows;
        const double withData = pixels - static_cast<double>(report.pixelsWithoutData);
        if (withData == 0.0)
            return Warn("no pixel of the output has data: no pixel that is fused has data in all the inputs");
        constexpr double nearlyAll = 0.99;
        for (std::size_t band = 0; band < report.samplesAtLimits.size(); ++band)
            for (const bool isLargest : {false, true}) {
                const auto& [lowest, highest] = report.samplesAtLimits[band];
                const double share = static_cast<double>(isLargest ? highest : lowest) / withData;
                if (share >= nearlyAll)
                    Warn(FormatString("%.3g %% of the samples of band %d are %u, the %s possible value; "
                                      "check the inputs and the weights",
                                      100.0 * share, static_cast<int>(band) + 1,
                                      isLargest ? plan.rules.largest : 0u,
                                      isLargest ? "largest" : "smallest"));
            }
    }

    [[nodiscard]] RunSizes GetSizes() const { return FindSizes(request, pair.plugin->GetDescription()); }

    /// Reduces the number of threads to those that can be started; true if fewer than the run would use.
    bool ReduceThreads() {
        const int asked = ChooseThreads(request);
        // A window is fused by one thread. Many threads may compress it.
        const bool mayCompress = plan.isCompressed || plan.IsCopied() || plan.writesCog;
        const std::uint32_t windows = (plan.rows - 1) / ChooseWindowRows(*pair.scene, plan, GetSizes()) + 1;
        const int used =
            mayCompress ? asked : std::min(asked, static_cast<int>(std::min(windows, 0x7FFFFFFFu)));
        const int most = LimitThreads(used, asked, [this](const std::string& text) { Warn(text); });
        if (most == used) return false;
        request.threads = most;
        return true;
    }

    bool FuseAll(WindowsAhead& ahead) {
        const auto output = OutputFile::Create(request, *pair.scene, plan, *folder, metadata, status);
        if (!output) return false;
        if (!output->GetWarning().empty()) Warn("the output '" + request.output + "'" + output->GetWarning());
        const CacheLimit cache(CacheBytes(*pair.scene, plan, GetSizes()));
        const std::uint32_t windows = (report.rows - 1) / report.windowRows + 1;
        report.threads =
            static_cast<int>(std::min<std::uint32_t>(static_cast<std::uint32_t>(report.threads), windows));
        const int count = CountSlots(report.threads, plan);
        std::vector<std::unique_ptr<FusionSlot>> slots;
        for (int i = 0; i < count; ++i) {
            slots.push_back(
                std::make_unique<FusionSlot>(SourcesOf(*pair.scene), *pair.plugin, settings, status));
            if (!slots.back()->Init(status)) return false;
        }
        PipelineResult result;
        const WindowPlan windowPlan{pair.scene->part, report.windowRows, report.threads};
        const double share = 1.0 - output->GetShareOfFinish();
        const auto fused = [&](double done) { return !request.progress || request.progress(share * done); };
        const auto copied = [&](double done) {
            result.wasCancelled = request.progress && !request.progress(share + (1.0 - share) * done);
            return !result.wasCancelled;
        };
        bool isDone = FuseWindows(windowPlan, ahead, slots, *output, fused, result, status);
        slots.clear(); // free memory, since copying needs its own
        if (isDone) isDone = output->Finish(copied, status);
        if (result.wasCancelled) return Cancel();
        if (!isDone) return false;
        report.samplesAtLimits = result.tally;
        report.stretches = output->GetStretches();
        report.pixelsWithoutData = output->GetPixelsWithoutData();
        report.noDataValue = plan.rules.noData;
        report.noDataBy = plan.rules.noData               ? NoDataBy::Value
                          : plan.rules.hasAlpha           ? NoDataBy::Alpha
                          : report.pixelsWithoutData == 0 ? NoDataBy::None
                                                          : NoDataBy::Mask;
        const bool hidesMask = plan.isPicture && (plan.format.name == "PNG" || plan.format.name == "JPEG");
        if (hidesMask && report.noDataBy == NoDataBy::Mask)
            Warn("the output '" + request.output +
                 "' marks pixels without data by a mask that GDAL reads; other programs show them black");
        JudgeResult();
        return true;
    }

    SharpenRequest request;     ///< with the chosen weights
    const SceneFindings* known; ///< null when nothing is known
    PreparedPair& pair;
    SharpenReport& report;
    Status& status;
    ProcessSettings settings;
    SceneFindings found;
    OutputPlan plan;
    OutputMetadata metadata;
    std::unique_ptr<WorkFolder> folder;
};

} // namespace

void FillReport(const SharpenRequest& request, const PreparedPair& pair, const ProcessSettings& settings,
                const SceneFindings& found, SharpenReport& report) {
    const RasterInfo& pan = pair.scene->pan->GetInfo();
    report.output = request.output;
    report.method = settings.method;
    report.plugin = pair.plugin->GetPath();
    report.columns = pair.scene->part.GetColumns();
    report.rows = pair.scene->part.GetRows();
    report.bands = pair.scene->outputBands;
    report.bitsPerSample = request.isPicture ? 8 : pan.bitsPerBand;
    report.bitDepth = pair.scene->bitDepth;
    report.resampling = request.resampling;
    const RasterInfo ms = pair.scene->GetMultispectral().GetInfo();
    report.ratio = ms.pixelSizeX / pan.pixelSizeX;
    report.ratioDown = ms.pixelSizeY / pan.pixelSizeY;
    report.effectiveWeights = settings.effectiveWeights;
    report.infraredWeight = settings.infraredWeight;
    report.fit = found.fit;
    report.detail = found.detail;
    report.threads = ChooseThreads(request);
}

bool Sharpen(const SharpenRequest& request, SharpenReport& report, Status& status, PreparedPair* used,
             const SceneFindings* known) {
    report = {};
    double seconds = 0.0;
    PreparedPair own;
    PreparedPair& pair = used ? *used : own;
    const bool isDone =
        RunOperation([&] { return SharpenRun(request, known, pair, report, status).Run(); }, seconds, status);
    report.seconds = seconds;
    return isDone;
}

} // namespace rasterhost
