#include "cli/SharpenRun.h"

#include "cli/FitToPlugin.h"
#include "cli/SceneInput.h"
#include "hostkit/PluginLibrary.h"
#include "rasterhost/scene/BandChoice.h"
#include "rasterhost/serving/OpenSceneFile.h"
#include "rasterhost/serving/SceneFile.h"
#include "rasterhost/writing/OutputCheck.h"
#include "rasterhost/writing/RunFiles.h"

namespace cli {

using KOVA::Tessara::Fundament::Status;

namespace {

/// Fits the request to the plug-in, and finds the bands that it names. False, with an item, when there is no
/// working plug-in or no such band.
bool Settle(Arguments& request, std::vector<std::string>& warnings, Status& status) {
    const auto plugin = hostkit::PluginLibrary::FindAndLoad(request.plugin, status);
    if (!plugin) return false;
    warnings = FitToPlugin(plugin->GetDescription(), request);
    return rasterhost::ResolveBands(request, status);
}

/// The same, and passes the warnings on.
bool SettleTelling(Arguments& request, std::vector<std::string>& warnings, Status& status) {
    if (!Settle(request, warnings, status)) return false;
    for (const std::string& warning : warnings)
        if (request.warn) request.warn(warning);
    return true;
}

/// Checks before a run that the files beside the output can be written.
bool CheckReports(const Arguments& request, Status& status) {
    rasterhost::RunFiles others; // the arguments were checked for what the run uses
    return (request.statusXml.empty() ||
            rasterhost::CheckNewFile(request.statusXml, "the status report '" + request.statusXml + "'",
                                     request.overwrite, others, status)) &&
           (!request.preview || rasterhost::CheckPreview(request, *request.preview, status));
}

bool Fuse(const Arguments& request, rasterhost::PreparedPair& pair, SharpenRun& run) {
    if (WritesScene(request)) return WriteScene(request, run.report, run.status);
    return (!request.scene ||
            rasterhost::CheckInputs(*request.scene, request, !request.window, request.warn, run.status)) &&
           rasterhost::Sharpen(request, run.report, run.status, &pair,
                               request.scene ? &request.scene->found : nullptr);
}

void LookAtPair(const Arguments& request, InfoRun& run) {
    const bool works =
        run.status.GetCount() == 0 && rasterhost::Preflight(request, run.report, run.status,
                                                            request.scene ? &request.scene->found : nullptr);
    run.code = works ? Done : WorkFailed;
}

} // namespace

void Sharpen(Arguments& request, SharpenRun& run) {
    std::vector<std::string> warnings;
    rasterhost::PreparedPair pair;
    if (!SettleTelling(request, warnings, run.status)) return;
    if (CheckReports(request, run.status)) {
        const bool isDone = Fuse(request, pair, run);
        run.code = isDone ? Done : run.report.cancelled ? Interrupted : WorkFailed;
    }
    if (run.code == Done && request.preview &&
        !rasterhost::WritePreview(request, *pair.scene, *request.preview, run.status))
        run.code = WorkFailed;
    if (run.code == Done && request.preview) run.shown = rasterhost::FindShownBands(*pair.scene);
    run.report.warnings.insert(run.report.warnings.begin(), warnings.begin(), warnings.end());
}

void Inform(Arguments& request, InfoRun& run) {
    std::vector<std::string> warnings;
    if (Settle(request, warnings, run.status) && request.scene)
        (void)rasterhost::CheckInputs(*request.scene, request, true, request.warn,
                                      run.status); // failure is a finding
    LookAtPair(request, run);
}

void TryToSharpen(Arguments& request, InfoRun& run) {
    std::vector<std::string> warnings;
    if (SettleTelling(request, warnings, run.status)) {
        (void)CheckReports(request, run.status);
        if (WritesScene(request) && rasterhost::CheckSceneFile(request, run.status)) request.output.clear();
    }
    LookAtPair(request, run);
}

std::shared_ptr<const rasterhost::SharpenedDataset> OpenScene(Arguments& request, std::size_t mostReaders,
                                                              Status& status) {
    if (request.scene)
        return rasterhost::OpenRecord(*request.scene, request, mostReaders, request.warn, status);
    std::vector<std::string> warnings;
    rasterhost::SceneRecord record;
    rasterhost::SharpenReport report;
    if (!SettleTelling(request, warnings, status) ||
        !rasterhost::RecordScene(request, record, report, status, false))
        return nullptr;
    return rasterhost::OpenRecord(record, request, mostReaders, request.warn, status);
}

} // namespace cli
