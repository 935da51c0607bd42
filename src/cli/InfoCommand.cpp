#include "cli/InfoCommand.h"

#include "cli/FitToPlugin.h"
#include "cli/InfoText.h"
#include "cli/RunJson.h"
#include "cli/StatusText.h"
#include "hostkit/PluginLibrary.h"

#include <iostream>

namespace cli {

using KOVA::Tessara::Fundament::Status;
using rasterhost::PreflightReport;

ExitCode ReportFindings(const Arguments& request, Status& status) {
    PreflightReport report;
    const bool works = status.GetCount() == 0 && rasterhost::Preflight(request, report, status);
    const ExitCode code = works ? Done : WorkFailed;
    if (request.json) {
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

ExitCode RunInfo(Arguments request) {
    Status status;
    if (const auto plugin = hostkit::PluginLibrary::FindAndLoad(request.plugin, status))
        FitToPlugin(plugin->GetDescription(), request);
    const auto warn = [&request](const std::string& warning) {
        if (!request.json) std::cerr << FormatWarning(warning);
    };
    if (request.scene && status.GetCount() == 0)
        (void)rasterhost::CheckInputs(*request.scene, request, warn, status); // a failure is a finding
    return ReportFindings(request, status);
}

} // namespace cli
