#include "rasterhost/fusing/WindowPipeline.h"

#include "rasterhost/requests/Operation.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_pipeline.h>
#include <oneapi/tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <mutex>

namespace rasterhost {

using imagery::LimitTally;

namespace {

namespace tbb = oneapi::tbb;

/// A window on its way through the stages, with its slot.
struct Job {
    FusionSlot* slot;
    OutputWindow made;
    bool isGood = true;
    Status reasons;
};

/// Runs a stage of a window unless an earlier stage failed. An exception becomes a failure of the window.
template <class Stage>
void Attempt(Job& job, Stage stage) {
    if (job.isGood) job.isGood = Guard(stage, job.reasons);
}

class PipelineRun {
public:
    PipelineRun(const WindowPlan& windows, WindowsAhead& windowsAhead,
                std::vector<std::unique_ptr<FusionSlot>>& fusionSlots, OutputFile& outputFile,
                const std::function<bool(double)>& report)
        : plan(windows), ahead(windowsAhead), output(outputFile), progress(report) {
        jobs.reserve(fusionSlots.size());
        for (const auto& slot : fusionSlots) {
            jobs.push_back({slot.get(), output.MakeWindow(plan.windowRows), true, {}});
            freeJobs.push_back(&jobs.back());
        }
    }

    bool Run(PipelineResult& result, Status& status) {
        if (plan.threads == 1 && !output.SharesWork())
            RunHere();
        else
            RunInParallel();
        result.tally = tally;
        result.wasCancelled = isCancelled;
        status.Append(reasons);
        return !hasStopped;
    }

private:
    /// One window after the other, without the time that it takes to start a scheduler.
    void RunHere() {
        while (Job* job = ReadNext())
            Write(*Fuse(job));
    }

    void RunInParallel() {
        // An arena gets at most as many threads as this allows; the default is one per processor.
        const tbb::global_control allowance(
            tbb::global_control::max_allowed_parallelism,
            std::max<std::size_t>(
                static_cast<std::size_t>(plan.threads),
                tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism)));
        tbb::task_arena arena(plan.threads);
        arena.execute([this] {
            tbb::parallel_pipeline(jobs.size(),
                                   tbb::make_filter<void, Job*>(tbb::filter_mode::serial_in_order,
                                                                [this](tbb::flow_control& flow) {
                                                                    Job* job = ReadNext();
                                                                    if (!job) flow.stop();
                                                                    return job;
                                                                }) &
                                       tbb::make_filter<Job*, Job*>(tbb::filter_mode::parallel,
                                                                    [this](Job* job) { return Fuse(job); }) &
                                       tbb::make_filter<Job*, void>(tbb::filter_mode::serial_in_order,
                                                                    [this](Job* job) { Write(*job); }));
        });
    }

    /// The next window; null after the last, and once a window has failed.
    Job* ReadNext() {
        if (hasStopped || nextRow >= plan.part.row1) return nullptr;
        Job* job = nullptr;
        {
            const std::lock_guard lock(freeMutex);
            job = freeJobs.back(); // never empty: a window enters only when another has left
            freeJobs.pop_back();
        }
        const hostkit::PixelRect window = ahead.WindowFrom(nextRow);
        nextRow = window.row1;
        job->isGood = true;
        job->reasons = {};
        job->made.Start(window.row0 - plan.part.row0, window.GetRows());
        Attempt(*job, [&] {
            {
                const std::lock_guard lock(fileMutex);
                ahead.Ask(*job->slot);
            }
            ahead.Wait(window.row0);
            const std::lock_guard lock(fileMutex);
            return job->slot->Read(window, job->reasons);
        });
        return job;
    }

    Job* Fuse(Job* job) {
        if (!hasStopped)
            Attempt(*job, [&] {
                const auto add = [&](const FusedRow& row) { job->made.AddRow(row.samples, row.valid); };
                return job->slot->Fuse(add, job->reasons) && output.Pack(job->made, job->reasons);
            });
        return job;
    }

    void Write(Job& job) {
        if (!hasStopped) {
            Attempt(job, [&] { return WriteWindow(job); });
            if (!job.isGood) {
                reasons = job.reasons;
                hasStopped = true;
            }
        }
        const std::lock_guard lock(freeMutex);
        freeJobs.push_back(&job);
    }

    bool WriteWindow(Job& job) {
        {
            std::unique_lock lock(fileMutex, std::defer_lock);
            if (output.IsWrittenByGdal()) lock.lock();
            if (!output.Write(job.made, job.reasons)) return false;
        }
        const LimitTally& found = job.made.GetTally();
        tally.resize(found.size());
        for (std::size_t band = 0; band < tally.size(); ++band) {
            tally[band].first += found[band].first;
            tally[band].second += found[band].second;
        }
        const double done =
            static_cast<double>(job.made.GetFirstRow() + job.made.GetRows()) / plan.part.GetRows();
        isCancelled = progress && !progress(done);
        return !isCancelled;
    }

    const WindowPlan plan;
    WindowsAhead& ahead;
    OutputFile& output;
    const std::function<bool(double)>& progress;
    LimitTally tally;
    Status reasons;
    bool isCancelled = false;
    std::atomic<bool> hasStopped = false;
    std::uint32_t nextRow = plan.part.row0;

    std::vector<Job> jobs;
    std::mutex freeMutex;
    std::vector<Job*> freeJobs;
    // A read may drop blocks of the output from GDAL's cache, so only one thread at a time may be in GDAL.
    std::mutex fileMutex;
};

} // namespace

hostkit::PixelRect WindowsAhead::WindowFrom(std::uint32_t row) const {
    return {plan.part.col0, row, plan.part.col1, row + std::min(plan.windowRows, plan.part.row1 - row)};
}

void WindowsAhead::Ask(FusionSlot& slot) {
    while (askedRow < plan.part.row1 && (askedRow == plan.part.row0 || ahead.IsUsed()) && ahead.HasRoom()) {
        const hostkit::PixelRect window = WindowFrom(askedRow);
        slot.FindReads(window, [&](const hostkit::ImageSource& image, const hostkit::PixelRect& rect) {
            ahead.Ask(image, rect, window.row0);
        });
        askedRow = window.row1;
    }
}

bool FuseWindows(const WindowPlan& plan, WindowsAhead& ahead,
                 std::vector<std::unique_ptr<FusionSlot>>& fusionSlots, OutputFile& output,
                 const std::function<bool(double)>& progress, PipelineResult& result, Status& status) {
    PipelineRun run(plan, ahead, fusionSlots, output, progress);
    return run.Run(result, status);
}

} // namespace rasterhost
