#include "cli/InfoCommand.h"

#include "cli/InfoText.h"
#include "cli/RunJson.h"
#include "cli/StatusText.h"

#include <iostream>

namespace cli {

ExitCode PrintFindings(const Arguments& request, const InfoRun& run) {
    if (request.json) {
        if (run.code == WorkFailed) std::cerr << FormatErrors(run.status);
        std::cout << InfoJson(request, run.report, run.code, run.status);
        return run.code;
    }
    if (run.code == Done) std::cout << FormatInfo(run.report) << std::flush;
    for (const std::string& warning : run.report.warnings)
        std::cerr << FormatWarning(warning);
    if (run.code == WorkFailed) std::cerr << FormatErrors(run.status);
    return run.code;
}

ExitCode RunInfo(Arguments request) {
    request.warn = [isSilent = request.json](const std::string& warning) {
        if (!isSilent) std::cerr << FormatWarning(warning);
    };
    InfoRun run;
    Inform(request, run);
    return PrintFindings(request, run);
}

} // namespace cli
