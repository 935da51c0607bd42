#include "rasterhost/Sharpen.h"

#include "fundament/Text.h"
#include "rasterhost/BandWeights.h"
#include "rasterhost/GdalErrors.h"
#include "rasterhost/OutputFile.h"
#include "rasterhost/WindowPipeline.h"

#include <cpl_conv.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <thread>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::StringsEqual;
using KOVA::Tessara::Pixmere::RasterInfo;

namespace {

/// GDAL's block cache takes a share of the whole memory unless it is told otherwise; a scene that is read and
/// written once, window by window, needs little.
class CacheLimit {
public:
    explicit CacheLimit(std::int64_t bytes) : before(GDALGetCacheMax64()) {
        if (!CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) GDALSetCacheMax64(bytes);
    }
    CacheLimit(const CacheLimit&) = delete;
    CacheLimit& operator=(const CacheLimit&) = delete;
    ~CacheLimit() { GDALSetCacheMax64(before); }

private:
    GIntBig before;
};

std::string ListText(const std::vector<double>& numbers) {
    std::string text;
    for (const double number : numbers)
        text += (text.empty() ? "" : ", ") + NumberText(number);
    return text;
}

/// One run from the opened scene to the finished file.
class SharpenRun {
public:
    SharpenRun(const SharpenRequest& sharpenRequest, SharpenReport& sharpenReport, Status& sharpenStatus)
        : request(sharpenRequest), report(sharpenReport), status(sharpenStatus) {}

    bool Run() {
        const std::string path = hostkit::FindPlugin(request.plugin, status);
        if (path.empty()) return false;
        plugin = hostkit::PluginLibrary::Load(path, status);
        if (!plugin) return false;
        scene = OpenScene(
            request, [this](const std::string& text) { Warn(text); }, status);
        if (!scene || !CheckOutput(request, *scene, status)) return false;
        // What is wrong with the request comes to light before the images are read.
        if (!MakeSettings(request, *scene, plugin->GetDescription(), settings, status)) return false;
        if (WantsFit(request, plugin->GetDescription()) && !FitToImages()) return false;
        FillReport();
        if (request.progress && !request.progress(0.0)) return Cancel();
        return TryOneRow() && FuseAll();
    }

private:
    void Warn(const std::string& text) {
        report.warnings.push_back(text);
        if (request.warn) request.warn(text);
    }
    bool Cancel() {
        report.cancelled = true;
        return Fail(status, HostStatus::Cancelled, "cancelled; nothing was written");
    }

    /// Fits the weights that the request leaves open.
    bool FitToImages() {
        WeightFit fit;
        const FitOptions options{request.bitDepth, request.infraredWeight};
        if (!FitWeights(*scene, options, fit, nullptr, status)) return false;
        if (!fit.obstacle.empty()) {
            Warn(fit.obstacle + "; equal weights are used");
            return true;
        }
        for (const std::string& warning : JudgeFit(*scene, fit))
            Warn(warning);
        request.weights = fit.weights;
        request.infraredWeight = fit.infraredWeight;
        report.fit = std::move(fit);
        settings = {};
        return MakeSettings(request, *scene, plugin->GetDescription(), settings, status);
    }

    void FillReport() {
        const RasterInfo& pan = scene->pan->GetInfo();
        const int processors = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
        report.output = request.output;
        report.method = settings.method;
        report.plugin = plugin->GetPath();
        report.columns = pan.cols;
        report.rows = pan.rows;
        report.bands = scene->outputBands;
        report.bitsPerSample = pan.bitsPerBand;
        report.ratio = scene->multispectral->GetInfo().pixelSizeX / pan.pixelSizeX;
        report.effectiveWeights = settings.effectiveWeights;
        report.infraredWeight = settings.infraredWeight;
        report.threads = request.threads > 0 ? request.threads : processors;
    }

    /// Settings that the process refuses come to light before there is an output.
    bool TryOneRow() {
        FusionSlot slot(*scene, *plugin, settings, status);
        const std::uint32_t row = scene->covered.row0;
        if (!slot.Init(1, status) || !slot.Read(row, row + 1, status) || !slot.Fuse(status)) return false;
        DescribeScene(slot.GetMetadata());
        return true;
    }

    /// The process's facts, with those of a window replaced by those of the scene, and the run's own.
    void DescribeScene(const KOVA::Tessara::Global::NameValueMap& facts) {
        const RasterInfo& pan = scene->pan->GetInfo();
        const RasterInfo& ms = scene->multispectral->GetInfo();
        const std::pair<const char*, std::string> replaced[] = {{"PanNCols", FormatString("%u", pan.cols)},
                                                                {"PanNRows", FormatString("%u", pan.rows)},
                                                                {"MSNCols", FormatString("%u", ms.cols)},
                                                                {"MSNRows", FormatString("%u", ms.rows)},
                                                                {"PanExtents", {}},
                                                                {"MSExtents", {}},
                                                                {"channelWeights", {}}};
        for (const auto& [name, value] : facts) {
            const auto scenes = std::find_if(std::begin(replaced), std::end(replaced),
                                             [&](const auto& entry) { return name == entry.first; });
            const std::string& text = scenes == std::end(replaced) ? value : scenes->second;
            if (!text.empty()) metadata.emplace_back(name, text);
        }
        const std::string weights = ListText(settings.effectiveWeights);
        metadata.emplace_back("Method", settings.method);
        if (!weights.empty()) metadata.emplace_back("EffectiveWeights", weights);
        if (settings.infraredWeight)
            metadata.emplace_back("EffectiveInfraredWeight", NumberText(*settings.infraredWeight));
        if (report.fit) DescribeFit(*report.fit);
        metadata.emplace_back(StringsEqual(request.format, "GTiff", true) ? "TIFFTAG_SOFTWARE" : "Software",
                              FormatString("pansharp %s", PANSHARP_VERSION));
    }

    void DescribeFit(const WeightFit& fit) {
        metadata.emplace_back("FitRSquared", NumberText(fit.rSquared));
        metadata.emplace_back("FitSamples", FormatString("%.0f", static_cast<double>(fit.samples)));
        metadata.emplace_back("FitCorrelations", ListText(fit.correlations));
        if (fit.infraredCorrelation)
            metadata.emplace_back("FitInfraredCorrelation", NumberText(*fit.infraredCorrelation));
    }

    [[nodiscard]] std::uint64_t RowBytes() const {
        const RasterInfo& pan = scene->pan->GetInfo();
        const RasterInfo& ms = scene->multispectral->GetInfo();
        // The process and the sampler hold single rows; a window holds pan, its share of the source and
        // output.
        return hostkit::PixelBytes(pan) * pan.cols * (1 + scene->outputBands) +
               static_cast<std::uint64_t>(static_cast<double>(hostkit::PixelBytes(ms)) * ms.cols *
                                          pan.pixelSizeY / ms.pixelSizeY);
    }

    /// Whole rows of output blocks, some 16 MB, and a few windows for every thread where the scene has them.
    [[nodiscard]] std::uint32_t ChooseWindowRows(std::uint32_t blockRows) const {
        constexpr std::uint64_t windowBytes = std::uint64_t{16} << 20;
        const std::uint32_t rows = scene->pan->GetInfo().rows;
        if (request.windowRows > 0) return std::min(request.windowRows, rows);
        const std::uint64_t byMemory = windowBytes / std::max<std::uint64_t>(RowBytes(), 1);
        const std::uint64_t byThreads = rows / (static_cast<unsigned>(report.threads) * 2u) + 1;
        // Blocks of one row, as strips have, need not be kept to.
        const std::uint64_t blocks = std::max<std::uint64_t>(std::min(byMemory, byThreads) / blockRows, 1);
        return static_cast<std::uint32_t>(std::min<std::uint64_t>(blocks * blockRows, rows));
    }

    /// Enough to keep rows of blocks that several windows share.
    [[nodiscard]] std::int64_t CacheBytes() const {
        constexpr std::uint64_t least = std::uint64_t{64} << 20;
        const std::uint64_t inputs =
            scene->pan->GetBlockRowBytes() + scene->multispectral->GetBlockRowBytes();
        const std::uint64_t outputs = request.windowRows == 0
                                          ? 0
                                          : std::uint64_t{256} * scene->outputBands *
                                                hostkit::PixelBytes(scene->pan->GetInfo()) * report.columns;
        return static_cast<std::int64_t>(std::max(least, 2 * inputs + outputs));
    }

    bool FuseAll() {
        const CacheLimit cache(CacheBytes());
        const auto output = OutputFile::Create(request, *scene, report.threads, metadata, status);
        if (!output) return false;
        report.windowRows = ChooseWindowRows(output->GetBlockRows());
        const std::uint32_t windows = (report.rows - 1) / report.windowRows + 1;
        report.threads =
            static_cast<int>(std::min<std::uint32_t>(static_cast<std::uint32_t>(report.threads), windows));
        // One more window than threads, so that a thread finds work while another writes.
        const int count = report.threads == 1 ? 1 : report.threads + 1;
        std::vector<std::unique_ptr<FusionSlot>> slots;
        for (int i = 0; i < count; ++i) {
            slots.push_back(std::make_unique<FusionSlot>(*scene, *plugin, settings, status));
            if (!slots.back()->Init(report.windowRows, status)) return false;
        }
        PipelineResult result;
        const WindowPlan plan{report.rows, report.windowRows, report.threads};
        const bool isFused = FuseWindows(plan, slots, scene->multispectral->GetInfo(), *output,
                                         request.progress, result, status);
        if (result.wasCancelled) return Cancel();
        if (!isFused || !output->Finish(status)) return false;
        report.samplesAtLimits = result.tally;
        if (result.collar)
            Warn(
                FormatString("%.0f %% of the edge of %s are 0 in all bands: that looks like a collar without "
                             "data that is not declared; it was fused like data",
                             100.0 * *result.collar, scene->multispectral->GetName().c_str()));
        return true;
    }

    SharpenRequest request; ///< with the weights that were chosen
    SharpenReport& report;
    Status& status;
    std::unique_ptr<hostkit::PluginLibrary> plugin;
    std::unique_ptr<Scene> scene;
    ProcessSettings settings;
    OutputFile::Metadata metadata;
};

} // namespace

bool Sharpen(const SharpenRequest& request, SharpenReport& report, Status& status) {
    const auto start = std::chrono::steady_clock::now();
    report = {};
    bool isDone = false;
    try {
        GDALAllRegister();
        const GdalErrors silence; // this thread's; every failure below becomes an item
        isDone = SharpenRun(request, report, status).Run();
    } catch (const std::exception& error) {
        isDone = Fail(status, HostStatus::Unexpected, FormatString("unexpected: %s", error.what()));
    }
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return isDone;
}

} // namespace rasterhost
