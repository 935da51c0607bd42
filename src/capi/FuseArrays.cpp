#include "capi/FuseArrays.h"

#include "fundament/Text.h"
#include "hostkit/ArrayRaster.h"
#include "hostkit/AxisPlacement.h"
#include "hostkit/LowPassFeed.h"
#include "hostkit/WindowWorker.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace capi {

using hostkit::PixelRect;
using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;

namespace {

constexpr const char* statusSource = "Pansharp.C";

/// Rows of a window: enough that opening it costs little, few enough that threads end together.
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

/// A worker with the images that it reads. Used by one thread.
class Worker {
public:
    Worker(const hostkit::PluginLibrary& plugin, const FuseJob& fuseJob, Status& status)
        : job(fuseJob), panRaster(job.pan.info, {}),
          worker(plugin, job.properties, job.pan.info, panRaster, status) {
        if (job.lowPass) lowPass.emplace(job.lowPass, job.pan.info, job.resampling);
    }

    [[nodiscard]] bool Start(Status& status) { return worker.Start(status); }

    [[nodiscard]] bool Fuse(const PixelRect& window, Status& status) {
        const PixelRect panRect = lowPass ? lowPass->SetWindow(window) : window;
        const hostkit::SampleBlock pan = MakeBlock(job.pan.samples, job.pan.layout, panRect, panBuffer);
        panRaster.SetBlock(pan);
        if (lowPass) lowPass->Offer(pan, worker.GetWorkspace());
        SetImage(hostkit::multispectralId, job.multispectral, window, multispectralBuffer);
        if (job.infrared) SetImage(hostkit::infraredId, *job.infrared, window, infraredBuffer);
        if (!worker.OpenWindow(window, status)) return false;
        for (std::uint32_t row = window.row0; row < window.row1; ++row) {
            const unsigned char* samples = worker.GetRow(row, status);
            if (!samples) return false;
            StoreRow(samples, job.processBands, job.outputBands, job.output, job.outputLayout, row);
        }
        return true;
    }

private:
    void SetImage(const char* id, const InputImage& image, const PixelRect& window,
                  std::vector<unsigned short>& buffer) {
        const PixelRect needed =
            hostkit::AxisPlacement(job.pan.info, image.info).FindSource(window, job.resampling);
        worker.GetWorkspace().SetImage(
            id, {image.info, MakeBlock(image.samples, image.layout, needed, buffer), job.resampling});
    }

    const FuseJob& job;
    std::vector<unsigned short> panBuffer;
    std::vector<unsigned short> multispectralBuffer;
    std::vector<unsigned short> infraredBuffer;
    std::optional<hostkit::LowPassFeed> lowPass;
    hostkit::ArrayRaster panRaster;
    hostkit::WindowWorker worker; ///< made after pan, so destroyed before it
};

/// One run over the rows: hands out windows, counts rows, keeps the first failure.
class Run {
public:
    Run(const hostkit::PluginLibrary& library, const FuseJob& fuseJob)
        : plugin(library), job(fuseJob), threads(ThreadCount(job)), windowRows(WindowRows(job, threads)) {}

    [[nodiscard]] pansharp_result Go(Status& status) {
        std::vector<std::jthread> helpers;
        try {
            StartHelpers(helpers);
            Work(true);
            AwaitHelpers();
        } catch (...) { // the progress callback may be anybody's code
            stop = true;
            throw;
        }
        helpers.clear();
        if (thrown) std::rethrow_exception(thrown);
        if (cancelled)
            status.Add(CStatus::Cancelled,
                       FormatString("cancelled by the progress callback after %u of %u rows", reportedRows,
                                    job.pan.info.rows),
                       statusSource);
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
        } catch (const std::system_error&) { // no further thread to be had: those that run do the work
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

    /// Tells the callback what is new. On the calling thread, without the lock.
    void Report() {
        std::uint32_t rows = 0;
        {
            const std::lock_guard lock(mutex);
            if (doneRows == reportedRows || failed || cancelled) return;
            rows = reportedRows = doneRows;
        }
        if (!job.progress || job.progress(rows, job.pan.info.rows, job.progressData) == 0) return;
        // Nothing is left to be cancelled after the last row.
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
    const FuseJob& job;
    const std::uint32_t threads;
    const std::uint32_t windowRows;
    std::atomic<std::uint32_t> nextWindow = 0;
    std::atomic<bool> stop = false;

    std::mutex mutex; ///< guards what follows
    std::condition_variable changed;
    std::uint32_t running = 0; ///< helpers
    std::uint32_t doneRows = 0;
    std::uint32_t reportedRows = 0;
    bool failed = false;
    bool cancelled = false; ///< used by the calling thread only
    Status failure;
    std::exception_ptr thrown; ///< by a helper
};

} // namespace

pansharp_result FuseArrays(const hostkit::PluginLibrary& plugin, const FuseJob& job, Status& status) {
    return Run(plugin, job).Go(status);
}

} // namespace capi
