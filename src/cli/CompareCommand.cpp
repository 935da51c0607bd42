#include "cli/CompareCommand.h"

#include "cli/QualityArguments.h"
#include "cli/QualityJson.h"
#include "cli/QualityText.h"
#include "cli/StatusText.h"

#include <iostream>

namespace cli {

ExitCode RunCompare(const CommandLine& line) {
    const rasterhost::CompareRequest request = MakeCompareRequest(line);
    rasterhost::CompareReport report;
    KOVA::Tessara::Fundament::Status status;
    const ExitCode code = rasterhost::Compare(request, report, status) ? Done : WorkFailed;
    if (code == WorkFailed) std::cerr << FormatErrors(status);
    if (line.Has("--json")) {
        std::cout << CompareJson(request, report, code, status);
        return code;
    }
    if (code == Done) std::cout << FormatComparison(report) << std::flush;
    for (const std::string& warning : report.warnings)
        std::cerr << FormatWarning(warning);
    return code;
}

} // namespace cli
