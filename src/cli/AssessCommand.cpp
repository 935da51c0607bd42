#include "cli/AssessCommand.h"

#include "cli/QualityArguments.h"
#include "cli/QualityJson.h"
#include "cli/QualityText.h"
#include "cli/StatusText.h"

#include <iostream>

namespace cli {

ExitCode RunAssess(const CommandLine& line) {
    const rasterhost::AssessRequest request = MakeAssessRequest(line);
    rasterhost::AssessReport report;
    KOVA::Tessara::Fundament::Status status;
    const ExitCode code = rasterhost::Assess(request, report, status) ? Done : WorkFailed;
    if (const std::string hint = HintAtFiles(line); code == WorkFailed && !hint.empty())
        status.Add(0, hint, "Command");
    if (code == WorkFailed) std::cerr << FormatErrors(status);
    if (line.Has("--json")) {
        std::cout << AssessJson(request, report, code, status);
        return code;
    }
    if (code == Done) std::cout << FormatAssessment(report) << std::flush;
    for (const std::string& warning : report.warnings)
        std::cerr << FormatWarning(warning);
    return code;
}

} // namespace cli
