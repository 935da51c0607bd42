// The module pansharp._files: what the command does with files, by its options but without printing. The
// package converts arguments to texts before it calls this module, and reports to results or exceptions.

#include "Calls.h"
#include "Helper.h"

#include "cli/BatchResults.h"
#include "cli/BatchRun.h"
#include "cli/CommandLine.h"
#include "cli/JsonParts.h"
#include "cli/Platform.h"
#include "cli/RunJson.h"
#include "cli/SharpenRun.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/serving/FileFingerprint.h"
#include "rasterhost/serving/RecordedScene.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

namespace py = pybind11;
using KOVA::Tessara::Fundament::Status;
using python::Calls;
using python::Helper;

/// Values by the long form of an option, as `cli::CommandLine` has them.
using Options = std::map<std::string, std::vector<std::string>, std::less<>>;
using Files = std::vector<std::string>;

const cli::CommandEntry& FindCommand(const std::string& name) {
    const cli::CommandEntry* command = name == "open" ? &cli::OpenCommand() : cli::FindCommand(name);
    if (!command) throw py::value_error("there is no command '" + name + "'");
    return *command;
}

/// Key, placeholder of the value, number of values, whether it may be repeated, and help text.
py::list OptionsOf(const std::string& command) {
    py::list listed;
    for (const cli::OptionEntry& option : FindCommand(command).options)
        if (option.read) // the others are used only by the command
            listed.append(py::make_tuple(std::string(option.Key()), std::string(option.value),
                                         option.CountValues(), option.repeatable, cli::HelpOf(option)));
    return listed;
}

/// Runs work on a thread of its own while the calling thread listens. Only the calling thread calls Python,
/// and it handles Ctrl-C even when nothing is reported.
class Watched {
public:
    /// Both functions may be None.
    Watched(const py::object& progressFunction, const py::object& warnFunction)
        : progress(progressFunction), warn(warnFunction) {}

    /// Raises what the functions raise, after the work has stopped.
    void Run(const std::function<void(cli::Arguments&)>& work, cli::Arguments& request) {
        request.progress = [this](double fraction) { return Progress(fraction); };
        request.warn = [this](const std::string& text) { Warn(text); };
        const Calls::Running call;
        const py::gil_scoped_release released;
        Helper::Run(
            [&] {
                try {
                    work(request);
                } catch (...) {
                    failure = std::current_exception();
                }
                const std::lock_guard lock(mutex);
                isDone = true;
                changed.notify_all();
            },
            [this] { Listen(); });
        if (thrown) std::rethrow_exception(thrown);
        if (failure) std::rethrow_exception(failure);
    }

private:
    bool Progress(double fraction) {
        std::unique_lock lock(mutex);
        done = fraction;
        changed.notify_all();
        // The output appears after the last report, so an exception raised by that report must arrive first.
        if (fraction >= 1.0) changed.wait(lock, [this] { return !done && !isTelling; });
        return !isCancelled;
    }

    void Warn(const std::string& text) {
        const std::lock_guard lock(mutex);
        warnings.push_back(text);
        changed.notify_all();
    }

    /// Until the work has ended and everything has been reported.
    void Listen() {
        constexpr std::chrono::milliseconds interval{50}; // between checks for signals
        std::unique_lock lock(mutex);
        for (bool more = true; more;) {
            changed.wait_for(lock, interval, [this] { return isDone || done || !warnings.empty(); });
            more = !isDone;
            const auto fraction = std::exchange(done, std::nullopt);
            const std::deque<std::string> texts = std::exchange(warnings, {});
            if (!isCancelled) {
                isTelling = true;
                lock.unlock();
                const bool goesOn = !Calls::IsEnding() && Tell(fraction, texts);
                lock.lock();
                isTelling = false;
                isCancelled = !goesOn;
            }
            changed.notify_all();
        }
    }

    bool Tell(std::optional<double> fraction, const std::deque<std::string>& texts) {
        const py::gil_scoped_acquire held;
        try {
            if (PyErr_CheckSignals() != 0) throw py::error_already_set();
            for (const std::string& text : texts)
                if (!warn.is_none()) // a file name in it need not be UTF-8
                    warn(py::reinterpret_steal<py::object>(
                        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace")));
            if (fraction && !progress.is_none()) progress(*fraction, 1.0);
            return true;
        } catch (...) {
            thrown = std::current_exception();
            return false;
        }
    }

    const py::object& progress;
    const py::object& warn;
    std::exception_ptr thrown, failure; ///< from Python, from the work
    std::mutex mutex;                   ///< guards the following members
    std::condition_variable changed;
    std::optional<double> done; ///< not yet reported
    std::deque<std::string> warnings;
    bool isDone = false;
    bool isTelling = false;
    bool isCancelled = false;
};

/// The result of `call`; for an invalid request, what the command would print.
std::string Reporting(const std::string& command, const std::function<std::string()>& call) {
    Status status;
    try {
        return call();
    } catch (const cli::UsageError& error) {
        status.Add(0, error.what(), "Command");
    }
    return cli::FailureJson(command, cli::WrongCommandLine, status);
}

/// The report of a run as JSON.
std::string Sharpen(const Files& files, Options options, const py::object& progress, const py::object& warn) {
    return Reporting("sharpen", [&] {
        cli::Arguments request =
            cli::ReadArguments(cli::CommandLine::Make(FindCommand("sharpen"), files, std::move(options)));
        Watched watched(progress, warn);
        if (request.dryRun) {
            cli::InfoRun findings;
            watched.Run([&](cli::Arguments& asked) { cli::TryToSharpen(asked, findings); }, request);
            return cli::InfoJson(request, findings.report, findings.code, findings.status);
        }
        cli::SharpenRun run;
        watched.Run([&](cli::Arguments& asked) { cli::Sharpen(asked, run); }, request);
        return cli::SharpenJson(request, run.report, run.code, run.status, cli::platform::PeakMemory());
    });
}

std::string Info(const Files& files, Options options) {
    return Reporting("info", [&] {
        cli::Arguments request =
            cli::ReadArguments(cli::CommandLine::Make(FindCommand("info"), files, std::move(options)));
        cli::InfoRun findings;
        const py::none nobody;
        Watched(nobody, nobody).Run([&](cli::Arguments& asked) { cli::Inform(asked, findings); }, request);
        return cli::InfoJson(request, findings.report, findings.code, findings.status);
    });
}

/// A scene of a batch: the list and its line, if any; files, output, options; and the fault of the line.
using BatchEntry = std::tuple<std::string, std::size_t, Files, std::string, Options, std::string>;

/// The scenes of lists and products, with options that apply to all.
std::vector<BatchEntry> BatchScenes(const Files& names, Options options) {
    std::vector<BatchEntry> entries;
    try {
        const auto line = cli::CommandLine::Make(FindCommand("batch"), names, std::move(options));
        for (const cli::BatchScene& scene : cli::ReadBatch(line))
            entries.emplace_back(scene.list, scene.line, scene.files, scene.output, scene.options,
                                 scene.fault);
    } catch (const cli::UsageError& error) {
        throw py::value_error(error.what());
    }
    return entries;
}

/// The result line of a scene: made, skipped or failed. `done` is the line of an earlier run, or empty.
/// `isOwn` tells that an existing file with the output's name was made by this batch.
std::string RunBatchScene(const BatchEntry& entry, const std::string& folder, double timeLimit,
                          const std::string& done, bool isOwn, const py::object& progress) {
    const auto& [list, line, files, output, options, fault] = entry;
    const cli::BatchScene scene{list, line, files, output, options, fault};
    const auto earlier = done.empty() ? std::nullopt : std::optional(cli::Json::parse(done));
    std::string result;
    cli::Arguments watching;
    const py::none nobody;
    Watched(progress, nobody)
        .Run(
            [&](const cli::Arguments& watched) {
                Status status;
                const cli::BatchRun how{folder, timeLimit, false, watched.progress, {}, isOwn};
                if (const auto made = cli::RunBatchScene(scene, how, earlier, status))
                    result = cli::BatchResults::Print(*made);
            },
            watching);
    return result;
}

/// The results of a batch, with lines as texts, until closed.
class Results {
public:
    explicit Results(const std::string& file) {
        try {
            results.emplace(file);
        } catch (const cli::UsageError& error) {
            throw py::value_error(error.what());
        } catch (const std::runtime_error& error) {
            python::Raise(PyExc_OSError, error.what());
        }
    }

    [[nodiscard]] std::string FindDone(const std::string& output) const {
        const auto line = results ? results->FindDone(output) : std::nullopt;
        return line ? cli::BatchResults::Print(*line) : std::string();
    }
    [[nodiscard]] bool WasBegun(const std::string& output) const {
        return results && results->WasBegun(output);
    }
    void Add(const std::string& line) {
        Write([&] { results->Add(cli::Json::parse(line)); });
    }
    void Begin(const std::string& output) {
        Write([&] { results->Begin(output); });
    }
    void End(const std::string& output, bool isMade) {
        Write([&] { results->End(output, isMade); });
    }
    void Close() { results.reset(); }

private:
    void Write(const std::function<void()>& write) {
        try {
            if (results) write();
        } catch (const std::runtime_error& error) {
            python::Raise(PyExc_OSError, error.what());
        }
    }

    std::optional<cli::BatchResults> results;
};

std::string JsonOf(const Status& status) {
    cli::Json object = cli::JsonHead("open", cli::WorkFailed);
    object["status"] = cli::JsonStatus(status);
    return cli::PrintJson(object);
}

/// An open sharpened scene. Several threads may read it.
class Dataset {
public:
    explicit Dataset(std::shared_ptr<const rasterhost::SharpenedDataset> open) : scene(std::move(open)) {}

    /// The dataset, or a report of the failure.
    static std::pair<std::unique_ptr<Dataset>, std::string>
    Open(const Files& files, Options options, std::size_t threads, const py::object& warn) {
        std::unique_ptr<Dataset> dataset;
        std::string report = Reporting("open", [&] {
            cli::Arguments request =
                cli::ReadArguments(cli::CommandLine::Make(FindCommand("open"), files, std::move(options)));
            Status status;
            std::shared_ptr<const rasterhost::SharpenedDataset> opened;
            const py::none nobody;
            Watched(nobody, warn)
                .Run([&](cli::Arguments& asked) { opened = cli::OpenScene(asked, threads, status); },
                     request);
            if (!opened) return JsonOf(status);
            dataset = std::make_unique<Dataset>(std::move(opened));
            return std::string();
        });
        return {std::move(dataset), std::move(report)};
    }

    /// `window` is the first column and row, then the ends; `out` has the axes band, row, column. Returns an
    /// empty text, or a report of the failure.
    std::string Read(const std::array<std::uint32_t, 4>& window, const std::vector<std::uint32_t>& bands,
                     py::array out, std::optional<py::array_t<std::uint8_t, py::array::c_style>> mask) const {
        const auto size = [&](int axis) { return static_cast<std::uint32_t>(out.shape(axis)); };
        const std::uint32_t rows = size(1), columns = size(2);
        const rasterhost::WindowTarget target{static_cast<unsigned char*>(out.mutable_data()), out.strides(2),
                                              out.strides(1), out.strides(0),
                                              mask ? mask->mutable_data() : nullptr};
        Status status;
        bool isRead = false;
        {
            const auto kept = scene; // it may be closed during the call
            const Calls::Running call;
            const py::gil_scoped_release released;
            isRead = kept->Read({window[0], window[1], window[2], window[3]}, columns, rows, bands, target,
                                status);
        }
        return isRead ? std::string() : JsonOf(status);
    }

    /// Everything known of it, in the form of rasterio.
    [[nodiscard]] py::dict Describe() const {
        const rasterhost::SceneOutput output =
            rasterhost::DescribeResult(scene->GetPair().GetScene(), scene->GetFusion().rules);
        py::dict facts;
        facts["width"] = scene->GetColumns();
        facts["height"] = scene->GetRows();
        facts["count"] = scene->GetBands();
        facts["bits"] = scene->GetBits();
        facts["nodata"] = output.noData;
        facts["crs"] = output.projection;
        facts["transform"] = output.geoTransform;
        facts["descriptions"] = output.bandNames;
        return facts;
    }

private:
    std::shared_ptr<const rasterhost::SharpenedDataset> scene;
};

} // namespace

PYBIND11_MODULE(_files, module) {
    Calls::WaitAtEnd();
    module.def("options", &OptionsOf);
    module.def("sharpen", &Sharpen);
    module.def("info", &Info);
    module.def("batch_scenes", &BatchScenes);
    module.def("batch_scene", &RunBatchScene);
    module.def("gdal_name", &rasterhost::NameForGdal);
    module.def("state_of", &rasterhost::TakeState, py::call_guard<py::gil_scoped_release>());
    py::class_<Results>(module, "Results")
        .def(py::init<const std::string&>())
        .def("find_done", &Results::FindDone)
        .def("was_begun", &Results::WasBegun)
        .def("add", &Results::Add)
        .def("begin", &Results::Begin)
        .def("end", &Results::End)
        .def("close", &Results::Close);
    py::class_<Dataset>(module, "Dataset")
        .def_static("open", &Dataset::Open)
        .def("read", &Dataset::Read)
        .def("describe", &Dataset::Describe);
}
