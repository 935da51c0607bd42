#include "cli/BatchCommand.h"

#include "cli/BatchList.h"
#include "cli/BatchResults.h"
#include "cli/Platform.h"
#include "cli/Progress.h"
#include "cli/RunJson.h"
#include "cli/SharpenRun.h"
#include "cli/StatusText.h"
#include "fundament/Files.h"
#include "fundament/Text.h"
#include "rasterhost/serving/FileFingerprint.h"

#include <chrono>
#include <filesystem>
#include <iostream>

namespace cli {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr const char* source = "Command";

/// Changes with the inputs, the options that pixels depend on, and the version.
std::string Fingerprint(const BatchScene& scene, const Arguments& request) {
    std::string text = PANSHARP_VERSION;
    for (const auto& [key, values] : scene.options) {
        if (key == "--threads" || key == "--window" || key == "--overwrite") continue;
        text += "\n" + key;
        for (const std::string& value : values)
            text += "\n " + value;
    }
    std::vector<std::string> files;
    const auto add = [&](const rasterhost::InputBand& input) {
        text += FormatString("\n%d ", input.band.value_or(0)) + input.file;
        files.push_back(input.file);
    };
    add(request.pan);
    for (const rasterhost::InputBand& input : request.multispectral)
        add(input);
    if (request.infrared) add(*request.infrared);
    for (const auto& [file, use] : request.otherFiles)
        files.push_back(file);
    rasterhost::ContentNumber number;
    text += "\n" + rasterhost::TakeState(files);
    number.Add(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    return number.GetDigits();
}

class Batch {
public:
    explicit Batch(const Arguments& batchArguments)
        : arguments(batchArguments), scenes(ReadBatch(arguments.line)),
          results((std::filesystem::path(MakeFolder(arguments.folder)) / batchResultsName).string()),
          isTerminal(platform::ErrorsGoToTerminal()) {}

    ExitCode Run() {
        platform::CatchInterrupts();
        while (next < scenes.size() && !platform::WasInterrupted()) {
            const BatchScene& scene = scenes[next++];
            TellStart(scene);
            RunScene(scene);
        }
        const bool isInterrupted = platform::WasInterrupted() && told < scenes.size();
        if (!arguments.quiet)
            std::cerr << FormatString("%zu scenes: %zu done, %zu skipped, %zu failed", scenes.size(),
                                      told - skipped - failed, skipped, failed)
                      << (isInterrupted ? "; interrupted: the same command line goes on with the next" : "")
                      << std::endl;
        return isInterrupted ? Interrupted : failed > 0 ? WorkFailed : Done;
    }

private:
    using Clock = std::chrono::steady_clock;

    static const std::string& MakeFolder(const std::string& folder) {
        if (!KOVA::Tessara::Fundament::CreateDirectories(folder))
            throw UsageError("--out: the folder '" + folder +
                             "' cannot be made; is a file in its place, and may this user write there?");
        return folder;
    }

    void TellStart(const BatchScene& scene) const {
        if (arguments.quiet) return;
        const std::string& name = !scene.output.empty() ? scene.output : scene.list;
        std::cerr << FormatString("scene %zu of %zu: ", next, scenes.size()) << name << std::endl;
    }

    /// What every line has.
    Json HeadOf(const BatchScene& scene, const char* status) const {
        Json result = {{"scene", next}, {"of", scenes.size()}, {"status", status}};
        if (!scene.list.empty()) {
            result["list"] = scene.list;
            result["line"] = scene.line;
        }
        result["inputs"] = scene.files;
        result["output"] = scene.output.empty() ? Json() : Json(scene.output);
        return result;
    }

    void Tell(const Json& result) {
        std::cout << BatchResults::Print(result) << std::endl;
        ++told;
    }

    void RunScene(const BatchScene& scene) {
        const Clock::time_point start = Clock::now();
        SharpenRun run;
        Arguments request;
        std::string fingerprint;
        try {
            if (!scene.fault.empty()) throw UsageError(scene.fault);
            request = scene.Ask(arguments.folder);
            fingerprint = Fingerprint(scene, request);
            const auto done = results.FindDone(scene.output);
            if (done && !arguments.again && done->value("fingerprint", Json()) == fingerprint &&
                KOVA::Tessara::Fundament::FileExists(request.output))
                return Skip(scene, *done);
            request.overwrite = request.overwrite || done; // it is the batch's own
            Sharpen(start, request, run);
        } catch (const std::bad_alloc&) {
            run.code = WorkFailed;
            run.status.Add(0, "there is not enough memory; try fewer --threads or a smaller --window",
                           source);
        } catch (const std::exception& error) {
            run.code = WorkFailed;
            run.status.Add(0, error.what(), source);
        }
        if (run.code == Interrupted) return;
        Finish(scene, start, request, run, fingerprint);
    }

    void Sharpen(Clock::time_point start, Arguments& request, SharpenRun& run) {
        Progress progress(isTerminal && !arguments.quiet ? Progress::Style::Bar : Progress::Style::Silent,
                          std::cerr);
        bool isLate = false;
        request.progress = [&](double fraction) {
            const std::chrono::duration<double> seconds = Clock::now() - start;
            isLate = isLate || (arguments.timeLimit > 0.0 && seconds.count() > arguments.timeLimit);
            progress.Update(fraction);
            return !isLate && !platform::WasInterrupted();
        };
        std::filesystem::create_directories(std::filesystem::path(request.output).parent_path());
        cli::Sharpen(request, run);
        if (run.code != Interrupted || !isLate) return;
        run.code = WorkFailed;
        run.status.Insert(0,
                          FormatString("the scene took longer than its time limit of %g s; give more with "
                                       "--time-limit",
                                       arguments.timeLimit),
                          source);
    }

    void Skip(const BatchScene& scene, const Json& done) {
        Json result = HeadOf(scene, "skipped");
        for (const auto& [key, value] : done.items())
            if (!result.contains(key)) result[key] = value;
        ++skipped;
        Tell(result);
    }

    void Finish(const BatchScene& scene, Clock::time_point start, const Arguments& request,
                const SharpenRun& run, const std::string& fingerprint) {
        const bool isDone = run.code == Done;
        Json report = SharpenObject(request, run.report, run.code, run.status, platform::PeakMemory());
        Json result = HeadOf(scene, isDone ? "done" : "failed");
        const std::chrono::duration<double> seconds = Clock::now() - start;
        result["seconds"] = seconds.count();
        result["megapixels"] = isDone ? static_cast<double>(run.report.columns) * run.report.rows / 1e6 : 0.0;
        result["fit"] = report.contains("fit") ? report["fit"] : Json();
        result["warnings"] = report["warnings"];
        result["errors"] = report["status"];
        result["version"] = PANSHARP_VERSION;
        result["fingerprint"] = fingerprint;
        if (isDone) result["report"] = std::move(report);
        if (!isDone) {
            ++failed;
            std::cerr << FormatErrors(run.status);
        }
        Tell(result);
        results.Add(result);
    }

    const Arguments& arguments;
    const std::vector<BatchScene> scenes;
    BatchResults results;
    const bool isTerminal;
    std::size_t next = 0;
    std::size_t told = 0, skipped = 0, failed = 0;
};

} // namespace

ExitCode RunBatch(const Arguments& arguments) { return Batch(arguments).Run(); }

} // namespace cli
