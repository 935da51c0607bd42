#include "cli/SharpenCommand.h"

#include "cli/InfoCommand.h"
#include "cli/Platform.h"
#include "cli/Plugin.h"
#include "cli/Progress.h"
#include "cli/ReportText.h"
#include "cli/RunJson.h"
#include "cli/SettingsFile.h"
#include "cli/SharpenArguments.h"
#include "cli/StatusText.h"
#include "fundament/Console.h"
#include "fundament/Files.h"
#include "rasterhost/writing/OutputCheck.h"

#include <iostream>

namespace cli {

using KOVA::Tessara::Fundament::Status;
using rasterhost::SharpenReport;
using rasterhost::SharpenRequest;

namespace {

Progress::Style ChooseStyle(const CommandLine& line) {
    if (line.Has("--quiet") || line.Has("--json")) return Progress::Style::Silent;
    return platform::ErrorsGoToTerminal() ? Progress::Style::Bar : Progress::Style::Lines;
}

/// Fuses, with progress and warnings on standard error, until it is done, fails or is interrupted.
ExitCode Fuse(const CommandLine& line, SharpenRequest& request, rasterhost::PreparedPair& pair,
              SharpenReport& report, Status& status) {
    Progress progress(ChooseStyle(line), std::cerr);
    request.progress = [&progress](double fraction) {
        progress.Update(fraction);
        return !platform::WasInterrupted();
    };
    const bool showWarnings = !line.Has("--json");
    request.warn = [&progress, showWarnings](const std::string& message) {
        progress.Clear();
        if (showWarnings) std::cerr << FormatWarning(message);
    };
    platform::CatchInterrupts();
    if (rasterhost::Sharpen(request, report, status, &pair)) return Done;
    return report.cancelled ? Interrupted : WorkFailed;
}

/// Asks before an existing file is replaced, where there is somebody to ask. False when the answer is no.
bool MayWrite(const CommandLine& line, SharpenRequest& request) {
    const bool isSilent = line.Has("--quiet") || line.Has("--json");
    if (request.overwrite || isSilent || !KOVA::Tessara::Fundament::IsInteractive() ||
        !KOVA::Tessara::Fundament::FileExists(request.output))
        return true;
    request.overwrite = KOVA::Tessara::Fundament::ConfirmOverwrite(request.output, false) == 1;
    return request.overwrite;
}

/// Tells before a run whether what stands beside the output can be written.
bool CheckReports(const CommandLine& line, const SharpenRequest& request,
                  const std::optional<rasterhost::PreviewRequest>& preview, Status& status) {
    rasterhost::RunFiles others; // the arguments were checked for what the run uses
    return (!line.Has("--status-xml") ||
            rasterhost::CheckNewFile(line.Get("--status-xml"),
                                     "the status report '" + line.Get("--status-xml") + "'",
                                     request.overwrite, others, status)) &&
           (!preview || rasterhost::CheckPreview(request, *preview, status));
}

void PrintOutcome(const CommandLine& line, const SharpenRequest& request, const SharpenReport& report,
                  ExitCode code, Status& status) {
    if (code == Interrupted)
        std::cerr << "pansharp: interrupted; '" << request.output << "' was not written\n";
    if (code == WorkFailed) std::cerr << FormatErrors(status);
    if (code == WorkFailed && line.Has("--status-xml") &&
        !WriteStatusReport(line.Get("--status-xml"), request.overwrite, status))
        std::cerr << FormatError(status.GetItem(status.GetCount() - 1).message);
    if (line.Has("--json"))
        std::cout << SharpenJson(request, report, code, status, platform::PeakMemory());
    else if (code == Done && !line.Has("--quiet"))
        std::cout << FormatReport(report, platform::PeakMemory())
                  << (line.Has("--verbose") ? FormatDetails(request, report) : "")
                  << (line.Has("--preview") ? FormatPreview(line.Get("--preview"), request, report) : "");
}

} // namespace

ExitCode RunSharpen(const CommandLine& line) {
    SharpenRequest request = MakeSharpenRequest(line);
    const auto preview = MakePreviewRequest(line, request);
    SharpenReport report;
    rasterhost::PreparedPair pair;
    Status status;
    ExitCode code = WorkFailed;
    const bool isTrial = line.Has("--dry-run");
    if (!isTrial && !MayWrite(line, request)) {
        status.Add(0, "'" + request.output + "' was left as it is", "Command");
        std::cerr << FormatErrors(status);
        return WorkFailed;
    }
    if (const auto plugin = LoadPlugin(line, status)) {
        const std::vector<std::string> warnings = FitToPlugin(line, plugin->GetDescription(), request);
        if (!line.Has("--json"))
            for (const std::string& warning : warnings)
                std::cerr << FormatWarning(warning);
        const bool canReport = CheckReports(line, request, preview, status);
        if (isTrial) return ReportFindings(line, request, status); // what cannot be written is a finding
        if (canReport) code = Fuse(line, request, pair, report, status);
        if (code == Done && preview && !rasterhost::WritePreview(request, *pair.scene, *preview, status))
            code = WorkFailed;
        report.warnings.insert(report.warnings.begin(), warnings.begin(), warnings.end());
    }
    PrintOutcome(line, request, report, code, status);
    return code;
}

} // namespace cli
