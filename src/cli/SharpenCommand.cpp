#include "cli/SharpenCommand.h"

#include "cli/FitToPlugin.h"
#include "cli/InfoCommand.h"
#include "cli/Platform.h"
#include "cli/Progress.h"
#include "cli/ReportText.h"
#include "cli/RunJson.h"
#include "cli/SceneInput.h"
#include "cli/SettingsFile.h"
#include "cli/StatusText.h"
#include "fundament/Console.h"
#include "fundament/Files.h"
#include "hostkit/PluginLibrary.h"
#include "rasterhost/serving/SceneFile.h"
#include "rasterhost/writing/OutputCheck.h"

#include <iostream>

namespace cli {

using KOVA::Tessara::Fundament::Status;
using rasterhost::SharpenReport;

namespace {

Progress::Style ChooseStyle(const Arguments& request) {
    if (request.quiet || request.json) return Progress::Style::Silent;
    return platform::ErrorsGoToTerminal() ? Progress::Style::Bar : Progress::Style::Lines;
}

/// Fuses, with progress and warnings on standard error, until it is done, fails or is interrupted.
ExitCode Fuse(Arguments& request, rasterhost::PreparedPair& pair, SharpenReport& report, Status& status) {
    Progress progress(ChooseStyle(request), std::cerr);
    request.progress = [&progress](double fraction) {
        progress.Update(fraction);
        return !platform::WasInterrupted();
    };
    const bool showWarnings = !request.json;
    request.warn = [&progress, showWarnings](const std::string& message) {
        progress.Clear();
        if (showWarnings) std::cerr << FormatWarning(message);
    };
    platform::CatchInterrupts();
    const bool isDone =
        WritesScene(request)
            ? WriteScene(request, report, status)
            : (!request.scene || rasterhost::CheckInputs(*request.scene, request, request.warn, status)) &&
                  rasterhost::Sharpen(request, report, status, &pair,
                                      request.scene ? &request.scene->found : nullptr);
    if (isDone) return Done;
    return report.cancelled ? Interrupted : WorkFailed;
}

/// Asks before an existing file is replaced, where there is somebody to ask. False when the answer is no.
bool MayWrite(Arguments& request) {
    const bool isSilent = request.quiet || request.json;
    if (request.overwrite || isSilent || !KOVA::Tessara::Fundament::IsInteractive() ||
        !KOVA::Tessara::Fundament::FileExists(request.output))
        return true;
    request.overwrite = KOVA::Tessara::Fundament::ConfirmOverwrite(request.output, false) == 1;
    return request.overwrite;
}

/// Tells before a run whether what stands beside the output can be written.
bool CheckReports(const Arguments& request, Status& status) {
    rasterhost::RunFiles others; // the arguments were checked for what the run uses
    return (request.statusXml.empty() ||
            rasterhost::CheckNewFile(request.statusXml, "the status report '" + request.statusXml + "'",
                                     request.overwrite, others, status)) &&
           (!request.preview || rasterhost::CheckPreview(request, *request.preview, status));
}

void PrintOutcome(const Arguments& request, const SharpenReport& report, ExitCode code, Status& status) {
    if (code == Interrupted)
        std::cerr << "pansharp: interrupted; '" << request.output << "' was not written\n";
    if (code == WorkFailed) std::cerr << FormatErrors(status);
    if (code == WorkFailed && !request.statusXml.empty() &&
        !WriteStatusReport(request.statusXml, request.overwrite, status))
        std::cerr << FormatError(status.GetItem(status.GetCount() - 1).message);
    if (request.json)
        std::cout << SharpenJson(request, report, code, status, platform::PeakMemory());
    else if (code == Done && !request.quiet)
        std::cout << FormatReport(report, platform::PeakMemory())
                  << (request.verbose ? FormatDetails(request, report) : "")
                  << (request.preview ? FormatPreview(request.preview->file, request, report) : "");
}

} // namespace

ExitCode RunSharpen(Arguments request) {
    SharpenReport report;
    rasterhost::PreparedPair pair;
    Status status;
    ExitCode code = WorkFailed;
    if (!request.dryRun && !MayWrite(request)) {
        status.Add(0, "'" + request.output + "' was left as it is", "Command");
        std::cerr << FormatErrors(status);
        return WorkFailed;
    }
    if (const auto plugin = hostkit::PluginLibrary::FindAndLoad(request.plugin, status)) {
        const std::vector<std::string> warnings = FitToPlugin(plugin->GetDescription(), request);
        if (!request.json)
            for (const std::string& warning : warnings)
                std::cerr << FormatWarning(warning);
        const bool canReport = CheckReports(request, status);
        // What cannot be written is a finding.
        if (request.dryRun && WritesScene(request) && rasterhost::CheckSceneFile(request, status))
            request.output.clear();
        if (request.dryRun) return ReportFindings(request, status);
        if (canReport) code = Fuse(request, pair, report, status);
        if (code == Done && request.preview &&
            !rasterhost::WritePreview(request, *pair.scene, *request.preview, status))
            code = WorkFailed;
        report.warnings.insert(report.warnings.begin(), warnings.begin(), warnings.end());
    }
    PrintOutcome(request, report, code, status);
    return code;
}

} // namespace cli
