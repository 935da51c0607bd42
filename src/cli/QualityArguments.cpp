#include "cli/QualityArguments.h"

#include "cli/ArgumentText.h"
#include "cli/ExitCode.h"
#include "cli/SharpenArguments.h"

#include <filesystem>
#include <sstream>

namespace cli {

using rasterhost::AssessRequest;
using rasterhost::CompareRequest;
using rasterhost::InputBand;
using rasterhost::SensorBlur;

namespace {

double ParseTransfer(const std::string& option, const std::string& text) {
    const double transfer = ParseNumber(option, text);
    if (transfer > 0.0 && transfer < 1.0) return transfer;
    throw UsageError(option + ": '" + text +
                     "' is no modulation transfer; give numbers above 0 and below 1, such as 0.3");
}

SensorBlur ReadBlur(const CommandLine& line) {
    SensorBlur blur;
    blur.pan = ParseTransfer("--mtf-pan", line.Get("--mtf-pan"));
    blur.multispectral.clear();
    std::istringstream list(line.Get("--mtf"));
    for (std::string part; std::getline(list, part, ',');)
        blur.multispectral.push_back(ParseTransfer("--mtf", part));
    if (blur.multispectral.empty()) throw UsageError("--mtf: no number is given; give one such as 0.3");
    return blur;
}

std::vector<InputBand> ParseInputs(const std::vector<std::string>& texts) {
    std::vector<InputBand> inputs;
    inputs.reserve(texts.size());
    for (const std::string& text : texts)
        inputs.push_back(ParseInputBand(text));
    return inputs;
}

} // namespace

AssessRequest MakeAssessRequest(const CommandLine& line) {
    AssessRequest request;
    request.fused = ParseInputs(line.GetPositionals());
    if (request.fused.empty())
        throw UsageError(
            "no image is named; give the fused raster, as in pansharp assess sharp.tif --pan pan.tif "
            "--ms ms.tif");
    request.reference = ParseInputs(line.GetAll("--reference"));
    const bool hasPan = line.Has("--pan");
    if (hasPan) request.pan = ParseInputBand(line.Get("--pan"));
    request.multispectral = ParseInputs(line.GetAll("--ms"));
    const bool hasPair = hasPan && !request.multispectral.empty();
    if (hasPan == request.multispectral.empty())
        throw UsageError("--pan and --ms go together: the pair that the image was made of; give both");
    if (hasPair == !request.reference.empty())
        throw UsageError(
            "give what to assess the image by: the truth with --reference, or the pair that it was made "
            "of with --pan and --ms");
    if (line.Has("--ratio")) {
        request.ratio = ParseNumber("--ratio", line.Get("--ratio"));
        if (*request.ratio <= 0.0)
            throw UsageError("--ratio: '" + line.Get("--ratio") +
                             "' is no ratio; give the coarse pixel's width over the fine one's, such as 2");
    }
    if (line.Has("--bands") && !hasPair)
        throw UsageError("--bands names bands of the pair; for a reference name them as in --reference "
                         "FILE,band=3 --reference FILE,band=2");
    request.bands = ParseBandList("--bands", line.Get("--bands"));
    request.blur = ReadBlur(line);
    if (line.Has("--nodata")) request.noData = ParseNumber("--nodata", line.Get("--nodata"));
    request.ignoreNoData = line.Has("--no-nodata");
    return request;
}

std::string HintAtFiles(const CommandLine& line) {
    for (const std::string option : {"--ms", "--reference"})
        if (line.GetPositionals().size() > 1 && line.GetAll(option).size() == 1)
            return option + " takes one file: those after it, as '" + line.GetPositionals()[1] +
                   "' may be, are taken for bands of the fused image; repeat it for each, as in " + option +
                   " b1.tif " + option + " b2.tif";
    return {};
}

CompareRequest MakeCompareRequest(const CommandLine& line) {
    CompareRequest request = MakePairRequest(line);
    request.blur = ReadBlur(line);
    request.keep = line.Get("--keep");
    request.replaceKept = line.Has("--overwrite");
    if (!request.keep.empty() && !std::filesystem::is_directory(request.keep))
        throw UsageError("--keep: there is no folder '" + request.keep + "'; make it first");
    return request;
}

} // namespace cli
