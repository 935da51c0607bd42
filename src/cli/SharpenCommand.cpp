#include "cli/SharpenCommand.h"

#include "cli/InfoCommand.h"
#include "cli/Platform.h"
#include "cli/Progress.h"
#include "cli/ReportText.h"
#include "cli/RunJson.h"
#include "cli/SettingsFile.h"
#include "cli/SharpenRun.h"
#include "cli/StatusText.h"
#include "fundament/Console.h"
#include "fundament/Files.h"

#include <iostream>

namespace cli {

using KOVA::Tessara::Fundament::Status;
using rasterhost::SharpenReport;

namespace {

Progress::Style ChooseStyle(const Arguments& request) {
    if (request.quiet || request.json) return Progress::Style::Silent;
    return platform::ErrorsGoToTerminal() ? Progress::Style::Bar : Progress::Style::Lines;
}

/// Asks before an existing file is replaced, if there is somebody to ask. False when the answer is no.
bool MayWrite(Arguments& request) {
    const bool isSilent = request.quiet || request.json;
    if (request.overwrite || isSilent || !KOVA::Tessara::Fundament::IsInteractive() ||
        !KOVA::Tessara::Fundament::FileExists(request.output))
        return true;
    request.overwrite = KOVA::Tessara::Fundament::ConfirmOverwrite(request.output, false) == 1;
    return request.overwrite;
}

void PrintOutcome(const Arguments& request, const SharpenReport& report, const rasterhost::ShownBands& shown,
                  ExitCode code, Status& status) {
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
                  << (request.preview ? FormatPreview(request.preview->file, request, report, shown) : "");
}

} // namespace

ExitCode RunSharpen(Arguments request) {
    SharpenRun run;
    // The question below is only about the output.
    const bool replacesReport = request.overwrite && !request.statusXml.empty();
    if (!request.dryRun && !MayWrite(request)) {
        run.status.Add(0, "'" + request.output + "' was left as it is", "Command");
        std::cerr << FormatErrors(run.status);
        return WorkFailed;
    }
    Progress progress(ChooseStyle(request), std::cerr);
    request.warn = [&progress, showWarnings = !request.json](const std::string& message) {
        progress.Clear();
        if (showWarnings) std::cerr << FormatWarning(message);
    };
    if (request.dryRun) {
        InfoRun findings;
        TryToSharpen(request, findings);
        return PrintFindings(request, findings);
    }
    request.progress = [&progress](double fraction) {
        progress.Update(fraction);
        return !platform::WasInterrupted();
    };
    platform::CatchInterrupts();
    Sharpen(request, run);
    progress.Clear();
    if (run.code == Done && replacesReport && !RemoveStatusReport(request.statusXml))
        std::cerr << FormatWarning("the status report '" + request.statusXml +
                                   "' of an earlier run cannot be removed; remove it");
    PrintOutcome(request, run.report, run.shown, run.code, run.status);
    return run.code;
}

} // namespace cli
