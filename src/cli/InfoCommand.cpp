#include "cli/InfoCommand.h"

#include "cli/InfoText.h"
#include "cli/Plugin.h"
#include "cli/RunJson.h"
#include "cli/SharpenArguments.h"
#include "cli/StatusText.h"

#include <iostream>

namespace cli {

using KOVA::Tessara::Fundament::Status;
using rasterhost::PreflightReport;
using rasterhost::SharpenRequest;

ExitCode ReportFindings(const CommandLine& line, const SharpenRequest& request, Status& status) {
    PreflightReport report;
    const bool works = status.GetCount() == 0 && rasterhost::Preflight(request, report, status);
    const ExitCode code = works ? Done : WorkFailed;
    if (line.Has("--json")) {
        if (code == WorkFailed) std::cerr << FormatErrors(status);
        std::cout << InfoJson(request, report, code, status);
        return code;
    }
    if (code == Done) std::cout << FormatInfo(report) << std::flush;
    for (const std::string& warning : report.warnings)
        std::cerr << FormatWarning(warning);
    if (code == WorkFailed) std::cerr << FormatErrors(status);
    return code;
}

ExitCode RunInfo(const CommandLine& line) {
    SharpenRequest request = MakeInfoRequest(line);
    Status status;
    if (const auto plugin = LoadPlugin(line, status)) FitToPlugin(line, plugin->GetDescription(), request);
    return ReportFindings(line, request, status);
}

} // namespace cli
