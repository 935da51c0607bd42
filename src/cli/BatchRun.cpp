#include "cli/BatchRun.h"

#include "cli/Platform.h"
#include "cli/RunJson.h"
#include "cli/SharpenRun.h"
#include "fundament/Files.h"
#include "fundament/Text.h"
#include "rasterhost/serving/FileFingerprint.h"

#include <chrono>
#include <filesystem>

namespace cli {

using KOVA::Tessara::Fundament::FormatString;

namespace {

constexpr const char* batchSource = "Command";

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A digest of the inputs, the options that pixels depend on, and the version.
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

/// The keys that every line has.
Json HeadOf(const BatchScene& scene, const char* status) {
    Json result = {{"status", status}};
    if (!scene.list.empty()) {
        result["list"] = scene.list;
        result["line"] = scene.line;
    }
    result["inputs"] = scene.files;
    result["output"] = scene.output.empty() ? Json() : Json(scene.output);
    return result;
}

Json Skip(const BatchScene& scene, const Json& done) {
    Json result = HeadOf(scene, "skipped");
    for (const auto& [key, value] : done.items())
        if (!result.contains(key) && key != "scene" && key != "of") result[key] = value;
    return result;
}

void SharpenInTime(Clock::time_point start, const BatchRun& how, Arguments& request, SharpenRun& run) {
    bool isLate = false;
    request.progress = [&](double fraction) {
        isLate = isLate || (how.timeLimit > 0.0 && SecondsSince(start) > how.timeLimit);
        return (!how.progress || how.progress(fraction)) && !isLate;
    };
    const std::string folder = std::filesystem::path(request.output).parent_path().string();
    if (!KOVA::Tessara::Fundament::CreateDirectories(folder))
        throw UsageError("the folder '" + folder + "' of the output '" + request.output +
                         "' cannot be made; is a file in its place, and may this user write there?");
    Sharpen(request, run);
    request.progress = nullptr;
    if (run.code != Interrupted || !isLate) return;
    run.code = WorkFailed;
    run.status.Insert(0,
                      FormatString("the scene took longer than its time limit of %g s; give more with "
                                   "--time-limit",
                                   how.timeLimit),
                      batchSource);
}

Json Finish(const BatchScene& scene, Clock::time_point start, const Arguments& request, const SharpenRun& run,
            const std::string& fingerprint) {
    const bool isDone = run.code == Done;
    Json report = SharpenObject(request, run.report, run.code, run.status, platform::PeakMemory());
    Json result = HeadOf(scene, isDone ? "done" : "failed");
    result["seconds"] = SecondsSince(start);
    result["megapixels"] = isDone ? static_cast<double>(run.report.columns) * run.report.rows / 1e6 : 0.0;
    result["fit"] = report.contains("fit") ? report["fit"] : Json();
    result["warnings"] = report["warnings"];
    result["errors"] = report["status"];
    result["version"] = PANSHARP_VERSION;
    result["fingerprint"] = fingerprint;
    if (isDone) result["report"] = std::move(report);
    return result;
}

std::optional<Json> MakeScene(const BatchScene& scene, const BatchRun& how, const std::optional<Json>& done,
                              KOVA::Tessara::Fundament::Status& status) {
    const Clock::time_point start = Clock::now();
    SharpenRun run;
    Arguments request;
    std::string fingerprint;
    try {
        if (!scene.fault.empty()) throw UsageError(scene.fault);
        request = scene.Ask(how.folder);
        fingerprint = Fingerprint(scene, request);
        if (done && !how.again && done->value("fingerprint", Json()) == fingerprint &&
            KOVA::Tessara::Fundament::FileExists(request.output))
            return Skip(scene, *done);
        request.overwrite = request.overwrite || done || how.isOwn;
        if (how.begin) how.begin();
        SharpenInTime(start, how, request, run);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        run.code = WorkFailed;
        run.status.Add(0, error.what(), batchSource);
    }
    if (run.code == Interrupted) return std::nullopt;
    status.Append(run.status);
    return Finish(scene, start, request, run, fingerprint);
}

} // namespace

std::optional<Json> RunBatchScene(const BatchScene& scene, const BatchRun& how,
                                  const std::optional<Json>& done, KOVA::Tessara::Fundament::Status& status) {
    const Clock::time_point start = Clock::now();
    try {
        return MakeScene(scene, how, done, status);
    } catch (const std::bad_alloc&) { // the memory of the scene has been freed by now
        SharpenRun run;
        run.code = WorkFailed;
        run.status.Add(0, "there is not enough memory; try fewer --threads or a smaller --window",
                       batchSource);
        status.Append(run.status);
        return Finish(scene, start, {}, run, {});
    }
}

} // namespace cli
