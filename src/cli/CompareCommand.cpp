#include "cli/CompareCommand.h"

#include "cli/Platform.h"
#include "cli/QualityJson.h"
#include "cli/QualityText.h"
#include "cli/StatusText.h"
#include "rasterhost/scene/BandChoice.h"

#include <iostream>

namespace cli {

ExitCode RunCompare(const Arguments& arguments) {
    const rasterhost::PairRequest& pair = arguments;
    const rasterhost::RunOptions& run = arguments;
    const rasterhost::BlurOptions& blur = arguments;
    const rasterhost::CompareOptions& options = arguments;
    rasterhost::CompareRequest request{pair, run, blur, options};
    request.progress = [](double) { return !platform::WasInterrupted(); };
    platform::CatchInterrupts();
    rasterhost::CompareReport report;
    KOVA::Tessara::Fundament::Status status;
    const bool isDone =
        rasterhost::ResolveBands(request, status) && rasterhost::Compare(request, report, status);
    const ExitCode code = isDone ? Done : report.cancelled ? Interrupted : WorkFailed;
    if (code == Interrupted) std::cerr << "pansharp: interrupted; nothing was written\n";
    if (code == WorkFailed) std::cerr << FormatErrors(status);
    if (arguments.json) {
        std::cout << CompareJson(request, report, code, status);
        return code;
    }
    if (code == Done) std::cout << FormatComparison(report) << std::flush;
    for (const std::string& warning : report.warnings)
        std::cerr << FormatWarning(warning);
    return code;
}

} // namespace cli
