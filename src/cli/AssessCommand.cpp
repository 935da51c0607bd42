#include "cli/AssessCommand.h"

#include "cli/QualityJson.h"
#include "cli/QualityText.h"
#include "cli/StatusText.h"
#include "rasterhost/scene/BandChoice.h"

#include <iostream>

namespace cli {

namespace {

/// A likely mistake in a failed command line: several images after an option that takes one file. Empty
/// otherwise.
std::string HintAtFiles(const CommandLine& line) {
    for (const OptionEntry& option : {option::ms, option::reference})
        if (const std::string name(option.Key());
            line.GetPositionals().size() > 1 && line.GetAll(option).size() == 1)
            return name + " takes one file. Those after it, such as '" + line.GetPositionals()[1] +
                   "', count as bands of the fused image. Repeat the option for each file, as in " + name +
                   " b1.tif " + name + " b2.tif";
    return {};
}

} // namespace

ExitCode RunAssess(const Arguments& arguments) {
    const rasterhost::PairRequest& pair = arguments;
    const rasterhost::BlurOptions& blur = arguments;
    const rasterhost::AssessOptions& options = arguments;
    rasterhost::AssessRequest request{pair, blur, options};
    rasterhost::AssessReport report;
    KOVA::Tessara::Fundament::Status status;
    const ExitCode code =
        rasterhost::ResolveBands(request, status) && rasterhost::Assess(request, report, status) ? Done
                                                                                                 : WorkFailed;
    if (const std::string hint = HintAtFiles(arguments.line); code == WorkFailed && !hint.empty())
        status.Add(0, hint, "Command");
    if (code == WorkFailed) std::cerr << FormatErrors(status);
    if (arguments.json) {
        std::cout << AssessJson(request, report, code, status);
        return code;
    }
    if (code == Done) std::cout << FormatAssessment(report) << std::flush;
    for (const std::string& warning : report.warnings)
        std::cerr << FormatWarning(warning);
    return code;
}

} // namespace cli
