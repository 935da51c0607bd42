#include "capi/FuseArrays.h"

#include "capi/JobGaps.h"
#include "fundament/Text.h"
#include "hostkit/ArrayRaster.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/LowPassFeed.h"
#include "hostkit/WindowWorker.h"
#include "imagery/RowValidity.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <list>
#include <mutex>
#include <numeric>
#include <optional>
#include <system_error>
#include <thread>

namespace capi {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;

namespace {

/// Rows per window: enough that opening a window costs little, and few enough that all threads end at about
/// the same time.
std::uint32_t WindowRows(const FuseJob& job, std::uint32_t threads) {
    constexpr std::uint64_t fewest = 16, mostPixels = std::uint64_t{1} << 20;
    const std::uint64_t most = std::max(fewest, mostPixels / job.pan.info.cols);
    return static_cast<std::uint32_t>(
        std::clamp(job.pan.info.rows / (std::uint64_t{threads} * 4), fewest, most));
}

std::uint32_t ThreadCount(const FuseJob& job) {
    const std::uint32_t wanted = job.threads != 0 ? job.threads : std::thread::hardware_concurrency();
    return std::clamp(wanted, 1u, (job.pan.info.rows - 1) / 16 + 1);
}

/// A coarse image as a worker reads it.
struct CoarseImage {
    CoarseImage(const char* imageId, const InputImage& inputImage, const FuseJob& job)
        : id(imageId), image(inputImage), placement(job.pan.info, image.info) {}

    const char* id;
    const InputImage& image;
    hostkit::AxisPlacement placement;
    BlockBuffers buffers;
    std::shared_ptr<hostkit::PlacedWindow> opened; ///< set if pixels may lack data
};

/// A worker with the images that it reads. Used by one thread.
class Worker {
public:
    Worker(const hostkit::PluginLibrary& plugin, FuseJob& fuseJob, Status& status)
        : job(fuseJob), panRaster(job.pan.info, {}), finish(job) {
        if (!job.isUpsampled) worker.emplace(plugin, job.properties, job.pan.info, panRaster, status);
        if (job.lowPass) lowPass.emplace(job.lowPass, job.pan.info, job.resampling);
        coarse.emplace_back(hostkit::multispectralId, job.multispectral, job);
        if (job.infrared) coarse.emplace_back(hostkit::infraredId, *job.infrared, job);
    }

    [[nodiscard]] bool Start(Status& status) { return !worker || worker->Start(status); }

    [[nodiscard]] bool Fuse(const PixelRect& window, Status& status) {
        const PixelRect panRect = lowPass ? lowPass->SetWindow(window) : window;
        const hostkit::SampleBlock pan =
            worker ? ReadBlock(job.pan, panRect, panBuffers) : hostkit::SampleBlock{};
        panRaster.SetBlock(pan);
        if (lowPass) lowPass->Offer(pan, worker->GetWorkspace());
        const bool mayLackData = job.MayLackData();
        windows.clear();
        for (CoarseImage& image : coarse)
            if (!SetImage(image, window, mayLackData, status)) return false;
        if (worker && !worker->OpenWindow(window, status)) return false;
        if (mayLackData) valid.resize(window.GetColumns());
        for (std::uint32_t row = window.row0; row < window.row1; ++row) {
            const unsigned char* samples =
                worker ? worker->GetRow(row, status) : windows.front()->GetRow(row - window.row0);
            if (!samples) return false;
            const unsigned char* has =
                mayLackData ? imagery::FindRowValidity(pan, window, row, windows, valid.data()) : nullptr;
            TellValid(row, has);
            StoreRow(finish.Finish(samples, has, window.GetColumns()), job.processBands, job.outputBands,
                     job.output, job.outputLayout, row);
        }
        return true;
    }

private:
    bool SetImage(CoarseImage& input, const PixelRect& window, bool mayLackData, Status& status) {
        const InputImage& image = input.image;
        const PixelRect needed = input.placement.FindSource(window, job.resampling);
        const hostkit::SampleBlock block = ReadBlock(image, needed, input.buffers);
        hostkit::SourceImage source{image.info, block, job.resampling};
        if (mayLackData || !worker) {
            input.opened = input.placement.Open(window, image.info, block, job.resampling, status);
            if (!input.opened) return false;
            windows.push_back(input.opened.get());
            std::vector<std::size_t> bands(image.info.bandsPerPixel);
            std::iota(bands.begin(), bands.end(), std::size_t{0});
            source.opened = {{input.opened, std::move(bands)}};
            source.window = window;
        }
        if (worker) worker->GetWorkspace().SetImage(input.id, source);
        return true;
    }

    /// Writes the mask of a row: one byte per pixel, or null when all have data.
    void TellValid(std::uint32_t row, const unsigned char* has) {
        if (has)
            job.gapPixels += static_cast<std::uint64_t>(
                std::count(has, has + valid.size(), static_cast<unsigned char>(0)));
        for (std::uint32_t column = 0; job.outputValid && column < job.pan.info.cols; ++column)
            job.outputValid[job.validLayout.At(column, row, 0)] =
                has && has[column] == 0 ? static_cast<unsigned char>(0) : static_cast<unsigned char>(255);
    }

    FuseJob& job;
    BlockBuffers panBuffers;
    std::list<CoarseImage> coarse;
    std::vector<hostkit::PlacedWindow*> windows; ///< of the coarse images
    std::vector<unsigned char> valid;            ///< of one row
    std::optional<hostkit::LowPassFeed> lowPass;
    hostkit::ArrayRaster panRaster;
    RowFinish finish;
    std::optional<hostkit::WindowWorker>
        worker; ///< made after pan, so destroyed before it; empty to upsample
};

/// One run over the rows: distributes windows, counts rows, keeps the first failure.
class Run {
public:
    Run(const hostkit::PluginLibrary& library, FuseJob& fuseJob)
        : plugin(library), job(fuseJob), threads(ThreadCount(job)), windowRows(WindowRows(job, threads)) {}

    [[nodiscard]] pansharp_result Go(Status& status) {
        std::vector<std::jthread> helpers;
        try {
            StartHelpers(helpers);
            Work(true);
            AwaitHelpers();
        } catch (...) { // the progress callback may throw anything
            stop = true;
            throw;
        }
        helpers.clear();
        if (thrown) std::rethrow_exception(thrown);
        if (cancelled)
            status.Add(CStatus::Cancelled,
                       FormatString("cancelled by the progress callback after %u of %u rows", reportedRows,
                                    job.pan.info.rows),
                       CStatus::Source);
        status.Append(failure);
        return cancelled ? PANSHARP_CANCELLED : failed ? PANSHARP_FAILED : PANSHARP_OK;
    }

private:
    void StartHelpers(std::vector<std::jthread>& helpers) {
        try {
            while (helpers.size() + 1 < threads) {
                {
                    const std::lock_guard lock(mutex);
                    ++running;
                }
                helpers.emplace_back([this] { Help(); });
            }
        } catch (const std::system_error&) { // no further thread is available: those that run do the work
            const std::lock_guard lock(mutex);
            --running;
        }
    }

    void Help() {
        try {
            Work(false);
        } catch (...) {
            stop = true;
            const std::lock_guard lock(mutex);
            failed = true;
            thrown = std::current_exception();
        }
        const std::lock_guard lock(mutex);
        --running;
        changed.notify_one();
    }

    void Work(bool reports) {
        Status reasons;
        Worker worker(plugin, job, reasons);
        if (!worker.Start(reasons)) return Fail(reasons);
        const std::uint32_t rows = job.pan.info.rows;
        const std::uint32_t windows = (rows - 1) / windowRows + 1;
        while (!stop) {
            const std::uint32_t window = nextWindow++;
            if (window >= windows) break;
            const std::uint32_t first = window * windowRows;
            const PixelRect rect{0, first, job.pan.info.cols, first + std::min(windowRows, rows - first)};
            if (!worker.Fuse(rect, reasons)) return Fail(reasons);
            Count(rect.GetRows());
            if (reports) Report();
        }
    }

    void Fail(const Status& reasons) {
        stop = true;
        const std::lock_guard lock(mutex);
        if (!failed) failure = reasons;
        failed = true;
    }

    void Count(std::uint32_t rows) {
        const std::lock_guard lock(mutex);
        doneRows += rows;
        changed.notify_one();
    }

    /// Calls the progress callback when rows were added. On the calling thread, without the lock.
    void Report() {
        std::uint32_t rows = 0;
        {
            const std::lock_guard lock(mutex);
            if (doneRows == reportedRows || failed || cancelled) return;
            rows = reportedRows = doneRows;
        }
        if (!job.progress || job.progress(rows, job.pan.info.rows, job.progressData) == 0) return;
        // After the last row there is nothing left to cancel.
        if (rows == job.pan.info.rows) return;
        stop = true;
        cancelled = true;
    }

    void AwaitHelpers() {
        for (bool more = true; more;) {
            {
                std::unique_lock lock(mutex);
                changed.wait(lock, [&] { return running == 0 || (!stop && doneRows != reportedRows); });
                more = running != 0;
            }
            Report();
        }
    }

    const hostkit::PluginLibrary& plugin;
    FuseJob& job;
    const std::uint32_t threads;
    const std::uint32_t windowRows;
    std::atomic<std::uint32_t> nextWindow = 0;
    std::atomic<bool> stop = false;

    std::mutex mutex; ///< guards the following members
    std::condition_variable changed;
    std::uint32_t running = 0; ///< helpers
    std::uint32_t doneRows = 0;
    std::uint32_t reportedRows = 0;
    bool failed = false;
    bool cancelled = false; ///< used by the calling thread only
    Status failure;
    std::exception_ptr thrown; ///< thrown by a helper
};

} // namespace

pansharp_result FuseArrays(const hostkit::PluginLibrary& plugin, FuseJob& job, Status& status) {
    return Run(plugin, job).Go(status);
}

} // namespace capi
