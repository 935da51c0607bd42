#include "rasterhost/assessing/Compare.h"

#include "fundament/Text.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/MethodTable.h"
#include "hostkit/PluginLibrary.h"
#include "hostkit/RequestRecord.h"
#include "rasterhost/assessing/CompareRows.h"
#include "rasterhost/assessing/ReducedScene.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/fusing/RunPlan.h"
#include "rasterhost/fusing/Sharpen.h"
#include "rasterhost/requests/CacheLimit.h"
#include "rasterhost/requests/HostProcess.h"
#include "rasterhost/requests/Operation.h"
#include "rasterhost/scene/BandGrids.h"
#include "rasterhost/writing/OutputCheck.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <future>
#include <map>

namespace rasterhost {

using imagery::RowSource;
using imagery::UpsampledRows;

using hostkit::Resampling;
using KOVA::Tessara::Fundament::FormatString;

namespace {

class CompareRun {
public:
    CompareRun(const CompareRequest& compareRequest, CompareReport& compareReport, Status& compareStatus)
        : request(compareRequest), report(compareReport), status(compareStatus) {}

    bool Run() {
        const auto plugin = hostkit::PluginLibrary::FindAndLoad(request.plugin, status);
        if (plugin) allRows = CountRows(plugin->GetDescription());
        if (!plugin || !PrepareToKeep() || !Reduce()) return false;
        FindThreads();
        // Cache for the reduced images, in memory, which are read while the next image is made.
        const CacheLimit cache(std::int64_t{64} << 20);
        return OpenReduced() && AddPlain(Resampling::Bilinear) && AddPlain(Resampling::Cubic) &&
               AddMethods(plugin->GetDescription()) && FinishLast() && FindBest() &&
               (!kept || reduced->Keep(*kept, request.replaceKept, status));
    }

private:
    /// Checks beforehand whether the files to keep can be written.
    bool PrepareToKeep() {
        if (request.keep.empty()) return true;
        RunFiles files = FilesOf(request, request);
        const auto names = ReducedScene::GetNames(request.infrared.has_value());
        for (const std::string name : names) {
            std::vector<std::string> all = NamesOfDescriptions(request.keep + "/" + name);
            all.push_back(request.keep + "/" + name);
            for (const std::string& file : all)
                if (!CheckNewFile(file, "the file to keep '" + file + "'", request.replaceKept, files,
                                  status))
                    return false;
        }
        kept = WorkFolder::Make(request.keep + "/" + names[2], status);
        return kept != nullptr;
    }

    /// An image is judged on a thread of its own while the next one is fused. Each of the two takes as many
    /// threads of the pool as a run. If there are not so many, one is done after the other.
    void FindThreads() {
        threads = ChooseThreads(request);
        if (threads == 1) return;
        const int wanted = 2 * threads - 1;
        const int found = CountThreadsToBeHad(wanted);
        judgesBeside = found == wanted;
        if (found + 1 < threads) threads = LimitThreads(threads, threads, warn);
    }

    /// Each row of the table counts as an equal part of the progress.
    [[nodiscard]] bool GoesOn() const {
        const double done = static_cast<double>(report.entries.size());
        return !request.progress || request.progress(allRows > 0.0 ? std::min(done / allRows, 1.0) : 0.0);
    }
    bool Cancel() {
        report.cancelled = true;
        return Fail(status, HostStatus::Cancelled, "cancelled; nothing was compared");
    }

    bool Reduce() {
        const PairRequest& pair = request;
        PairRequest inputs = pair;
        inputs.bands.clear(); // the runs select bands
        std::unique_ptr<Scene> scene;
        const Preparation preparation = PrepareScene(
            inputs, warn, [this] { return GoesOn(); }, scene, status);
        report.cancelled = preparation == Preparation::Cancelled;
        if (preparation != Preparation::Done ||
            !CheckBandList(request.bands, scene->bandOrder.size(), status) || !CheckGrids(*scene, status) ||
            !CheckBlur(request.blur, scene->CountBands(), status))
            return false;
        if (!GoesOn()) return Cancel();
        if (scene->pan->GetInfo().bitsPerBand > 8) bitDepth = static_cast<int>(scene->bitDepth);
        report.bands = static_cast<std::uint32_t>(scene->bandOrder.size());
        if (!request.bands.empty()) report.bands = static_cast<std::uint32_t>(request.bands.size());
        allBands = scene->bandOrder.size();
        const CacheLimit cache(StripCache(
            {scene->pan.get(), scene->GetMultispectral().image.get(), scene->images.back().image.get()}));
        reduced = ReducedScene::Make(*scene, request.blur, status);
        if (!reduced) return false;
        report.ratioX = reduced->ratioX;
        report.ratioY = reduced->ratioY;
        report.columns = reduced->columns;
        report.rows = reduced->rows;
        report.windows = reduced->windows;
        return true;
    }

    bool OpenReduced() {
        pan = InputImage::Open({{reduced->GetPan(), {}}}, "reduced", {}, status);
        multispectral = OpenBands(reduced->GetMultispectral(), report.bands);
        return pan && multispectral;
    }

    /// Opens the first `count` of the compared bands.
    [[nodiscard]] std::unique_ptr<InputImage> OpenBands(const std::string& file, std::size_t count) {
        const std::vector<int>& wanted = request.bands;
        std::vector<InputBand> inputs;
        for (std::size_t band = 0; band < count; ++band)
            inputs.push_back({file, wanted.empty() ? static_cast<int>(band) + 1 : wanted[band]});
        return InputImage::Open(inputs, "reduced", {}, status);
    }

    /// Starts to judge an image in parallel with what follows, after the one before has been judged. `file`
    /// is deleted when it is no longer needed.
    bool Add(CompareEntry entry, std::size_t bands, const OpenRows& rows, const std::string& file = {}) {
        if (!FinishLast()) return false;
        if (!GoesOn()) return Cancel();
        // A method may write fewer bands, the first ones.
        if (!truths[bands]) truths[bands] = OpenBands(reduced->GetTruth(), bands);
        if (!truths[bands]) return false;
        const auto judge = [this, rows, truth = RowsOf(*truths[bands])] {
            return CompareRows(rows, truth, threads, std::sqrt(report.ratioX * report.ratioY),
                               last.entry.indices, last.reasons);
        };
        last.entry = std::move(entry);
        last.file = file;
        // If it is not judged beside, FinishLast does it.
        constexpr auto beside = std::launch::async | std::launch::deferred;
        last.isGood = std::async(judgesBeside ? beside : std::launch::deferred, judge);
        return true;
    }

    /// Adds the result of the image being judged, if there is one, to the table.
    bool FinishLast() {
        if (!last.isGood.valid()) return true;
        const bool isGood = last.isGood.get();
        if (!last.file.empty()) VSIUnlink(last.file.c_str());
        status.Append(last.reasons);
        if (!isGood) return false;
        if (last.entry.indices.pixels == 0)
            return Fail(
                status, HostStatus::InputsDoNotFit,
                "no pixel has enough data around it when the images are degraded; there is nothing to "
                "compare");
        report.entries.push_back(std::move(last.entry));
        last = {};
        return true;
    }

    bool AddPlain(Resampling resampling) {
        const auto& grid = pan->GetInfo();
        const auto placement = std::make_shared<const hostkit::AxisPlacement>(grid, multispectral->GetInfo());
        const auto open = [this, placement, resampling,
                           &grid](Status& reasons) -> std::unique_ptr<RowSource> {
            auto image = InputImage::Open(multispectral->GetDescription(), reasons);
            return image ? std::make_unique<UpsampledRows>(std::move(image), *placement,
                                                           hostkit::WholeImage(grid), resampling, false)
                         : nullptr;
        };
        return Add({{}, {}, resampling, {}, {}, {}}, report.bands, open);
    }

    /// The rows of the table if no method is left out.
    [[nodiscard]] double CountRows(const PansharpDescription& plugin) const {
        const int samplings = request.onlyResampling ? 1 : 2;
        int rows = 2;
        for (const PansharpMethod& method : hostkit::MethodsOf(plugin))
            rows += samplings * (hostkit::WeighsBands(method) ? 2 : 1);
        return rows;
    }

    bool AddMethods(const PansharpDescription& plugin) {
        for (const PansharpMethod& method : hostkit::MethodsOf(plugin)) {
            if (method.minimumBands > allBands) {
                warn(FormatString("%s is left out: it needs at least %u bands", method.keyword,
                                  method.minimumBands));
                continue;
            }
            for (const Resampling resampling : {Resampling::Bilinear, Resampling::Cubic}) {
                if (request.onlyResampling.value_or(resampling) != resampling) continue;
                if (!AddRuns(method, MakeRun(method.keyword, resampling), plugin)) return false;
            }
        }
        return true;
    }

    /// A method that weighs no bands ignores an infrared band.
    bool AddRuns(const PansharpMethod& method, SharpenRequest run, const PansharpDescription& plugin) {
        const bool weighs = WantsFit(run, plugin);
        if (weighs && reduced->hasInfrared) run.infrared = InputBand{reduced->GetInfrared(), {}};
        if (method.fusedBands > 0 && run.bands.size() > method.fusedBands)
            run.bands.resize(method.fusedBands);
        if (!weighs) return AddMethod(run, {});
        if (!AddMethod(run, WeightSource::Fit)) return false;
        run.weightSource = WeightSource::Equal;
        return AddMethod(run, WeightSource::Equal);
    }

    [[nodiscard]] SharpenRequest MakeRun(const char* method, Resampling resampling) const {
        SharpenRequest run;
        run.pan.file = reduced->GetPan();
        run.multispectral = {{reduced->GetMultispectral(), {}}};
        run.bands = request.bands;
        run.overwrite = true;
        run.method = method;
        run.bitDepth = bitDepth;
        run.resampling = resampling;
        run.plugin = request.plugin;
        run.threads = threads;
        if (request.progress) run.progress = [this](double) { return GoesOn(); };
        return run;
    }

    bool AddMethod(SharpenRequest run, std::optional<WeightSource> weights) {
        SharpenReport fusion;
        run.output = reduced->GetFused(fusedImages++);
        if (!Sharpen(run, fusion, status)) {
            report.cancelled = fusion.cancelled;
            return false;
        }
        const auto fused = InputImage::Open({{run.output, {}}}, "fused", {}, status);
        if (!fused) return false;
        // If no weights could be fitted, the run used equal ones.
        if (weights == WeightSource::Fit && !fusion.fit) {
            weights = WeightSource::Equal;
            warn(run.method + ": no weights could be fitted to the degraded pair");
        }
        return Add({run.method, weights, run.resampling, fusion.effectiveWeights, fusion.infraredWeight, {}},
                   fused->GetInfo().bandsPerPixel, RowsOf(*fused), run.output);
    }

    bool FindBest() {
        const auto better = [this](const CompareEntry& a, const CompareEntry& b) {
            return a.indices.errors.size() == report.bands &&
                   (b.indices.errors.size() < report.bands || a.indices.ergas < b.indices.ergas);
        };
        report.best = static_cast<std::size_t>(
            std::min_element(report.entries.begin(), report.entries.end(), better) - report.entries.begin());
        return true;
    }

    const CompareRequest& request;
    CompareReport& report;
    Status& status;
    const Warn warn = [this](const std::string& text) { report.warnings.push_back(text); };
    int threads = 1;
    bool judgesBeside = false;
    std::unique_ptr<WorkFolder> kept; ///< null when nothing is kept
    std::unique_ptr<ReducedScene> reduced;
    std::unique_ptr<InputImage> pan, multispectral;            ///< of the reduced scene
    std::map<std::size_t, std::unique_ptr<InputImage>> truths; ///< by number of bands
    std::optional<int> bitDepth;
    std::size_t allBands = 0; ///< of the multispectral image
    double allRows = 0.0;     ///< rows that the table will have
    unsigned fusedImages = 0;

    struct Judged {
        CompareEntry entry;
        std::string file;
        Status reasons;
        std::future<bool> isGood; ///< valid while an image is being judged
    };
    Judged last; ///< destroyed first, since it reads the members above
};

} // namespace

bool Compare(const CompareRequest& request, CompareReport& report, Status& status) {
    report = {};
    double seconds = 0.0;
    const bool isDone =
        RunOperation([&] { return CompareRun(request, report, status).Run(); }, seconds, status);
    report.seconds = seconds;
    return isDone;
}

} // namespace rasterhost
