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

ExitCode RunInfo(const CommandLine& line) {
    SharpenRequest request = MakeInfoRequest(line);
    PreflightReport report;
    Status status;
    ExitCode code = WorkFailed;
    if (const auto plugin = LoadPlugin(line, status)) {
        FitToPlugin(line, plugin->GetDescription(), request);
        if (rasterhost::Preflight(request, report, status)) code = Done;
    }
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

} // namespace cli
