#include "cli/SharpenArguments.h"

#include "cli/ArgumentText.h"
#include "cli/ExitCode.h"
#include "cli/RunWeights.h"
#include "cli/SettingsFile.h"
#include "cli/Suggestion.h"
#include "fundament/Text.h"
#include "host/PropertyNames.h"
#include "hostkit/MethodTable.h"
#include "rasterhost/writing/RunFiles.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace cli {

using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::StringsEqual;
using rasterhost::SharpenRequest;

namespace {

constexpr std::uint32_t mostThreads = 1024;
constexpr std::uint32_t mostRows = 0x7FFFFFFFu;
constexpr std::uint32_t fewestBits = 9;
constexpr std::uint32_t mostBits = 16;

void ReadInputs(const CommandLine& line, rasterhost::PairRequest& request) {
    const std::vector<std::string>& files = line.GetPositionals();
    if (files.empty())
        throw UsageError(
            "no input is named; give the panchromatic raster and then the multispectral one, as in "
            "pansharp sharpen pan.tif ms.tif -o sharp.tif");
    request.pan = ParseInputBand(files.front());
    if (files.size() == 1)
        throw UsageError("only '" + files.front() +
                         "' is named; give the multispectral raster, or one file a band, after it");
    for (const std::string& file : std::span(files).subspan(1))
        request.multispectral.push_back(ParseInputBand(file));
    if (line.Has("--infrared")) request.infrared = ParseInputBand(line.Get("--infrared"));
}

/// The name of a file to write.
std::string FileName(const CommandLine& line, const std::string& option) {
    std::string name = line.Get(option);
    if (name == "-")
        throw UsageError(option + ": standard output takes no file; name one (./- is a file of that name)");
    return name;
}

void ReadOutput(const CommandLine& line, SharpenRequest& request) {
    request.output = FileName(line, "--output");
    if (request.output.empty())
        throw UsageError("no output is named; add -o and the name of the file to write");
    if (StartsWith(request.output, "/vsimem/", false))
        throw UsageError("-o: '" + request.output + "' would be gone with this run; name a file");
    if (line.Has("--of")) request.format = line.Get("--of");
    if (line.Has("--of") && request.format.empty())
        throw UsageError("--of: the format is empty; give one such as GTiff");
    for (const std::string& option : line.GetAll("--co")) {
        (void)ParseNameValue("--co", option);
        request.creationOptions.push_back(option);
    }
    request.overwrite = line.Has("--overwrite");
}

/// The weights of an earlier run, in the place of those of the command line.
void TakeRunWeights(const CommandLine& line, SharpenRequest& request) {
    const std::string file = line.Get("--weights-from");
    if (line.Has("--weights"))
        throw UsageError("--weights and --weights-from both say what the weights are; give one of them");
    const RunWeights run = ReadRunWeights(file);
    if (run.transfer && !line.Has("--mtf")) request.transfer = run.transfer;
    if (!line.Has("--gains")) request.gains = run.gains;
    request.weights = run.bands;
    if (run.infrared && !request.infrared)
        throw UsageError("--weights-from: the run of '" + file +
                         "' had an infrared band that took part; name one with --infrared");
    if (request.infrared && !request.infraredWeight) request.infraredWeight = run.infrared;
    if (request.infrared && !request.infraredWeight)
        throw UsageError("--weights-from: the run of '" + file +
                         "' had no infrared band; give the weight of this one with --infrared-weight");
}

/// A method that is typed goes before that of the settings.
void TakeSettings(const PropertyPairs& settings, bool isMethodTyped, SharpenRequest& request) {
    for (const auto& [name, value] : settings)
        if (!StringsEqual(name, KOVA::Tessara::PropertyNames::method, true)) {
            request.properties.emplace_back(name, value);
        } else if (!isMethodTyped) {
            request.method = value;
        }
}

void ReadFusion(const CommandLine& line, SharpenRequest& request) {
    if (line.Has("--method")) request.method = line.Get("--method");
    request.weights = ParseWeights("--weights", line.Get("--weights"));
    if (StringsEqual(line.Get("--weights"), "equal", true))
        request.weightSource = rasterhost::WeightSource::Equal;
    request.bands = ParseBandList("--bands", line.Get("--bands"));
    if (line.Has("--infrared-weight")) {
        if (!request.infrared)
            throw UsageError("--infrared-weight is given without an infrared band; name it with --infrared");
        request.infraredWeight = ParseNumber("--infrared-weight", line.Get("--infrared-weight"));
    }
    if (!StringsEqual(line.Get("--mtf"), "auto", true))
        request.transfer = ParseNumber("--mtf", line.Get("--mtf"));
    request.gains = ParseGains("--gains", line.Get("--gains"));
    if (line.Has("--weights-from")) TakeRunWeights(line, request);
    if (line.Has("--settings"))
        TakeSettings(ReadSettings(line.Get("--settings")), line.Has("--method"), request);
    for (const std::string& property : line.GetAll("--set"))
        request.properties.push_back(ParseNameValue("--set", property));
}

/// The sides of --projwin or --bbox as left, top, right, bottom.
std::array<double, 4> ParsePart(const CommandLine& line, const std::string& option) {
    std::array<double, 4> part{};
    const std::vector<std::string> texts = line.GetAll(option);
    for (std::size_t i = 0; i < part.size(); ++i)
        part[i] = ParseNumber(option, texts[i]);
    const bool isBox = option == "--bbox";
    if (isBox) std::swap(part[1], part[3]);
    const auto& [left, top, right, bottom] = part;
    if (left >= right || (isBox ? bottom >= top : bottom == top))
        throw UsageError(option + ": nothing lies between '" + texts[0] + " " + texts[1] + "' and '" +
                         texts[2] + " " + texts[3] + "'; " +
                         (isBox ? "the least x and y come first, then the greatest"
                                : "the upper left corner comes first, then the lower right one"));
    return part;
}

int ReadBitDepth(const CommandLine& line) {
    return static_cast<int>(ParseWhole("--bit-depth", line.Get("--bit-depth"), fewestBits, mostBits));
}

hostkit::Resampling ReadResampling(const CommandLine& line) {
    const std::vector<std::string> known = {"bilinear", "cubic"};
    const std::string resampling = KOVA::Tessara::Fundament::ToLower(line.Get("--resampling"));
    if (std::find(known.begin(), known.end(), resampling) == known.end())
        throw UsageError("--resampling: there is no '" + line.Get("--resampling") + "'" +
                         Suggestion(resampling, known) + "; give bilinear or cubic");
    return resampling == "cubic" ? hostkit::Resampling::Cubic : hostkit::Resampling::Bilinear;
}

void ReadSampling(const CommandLine& line, SharpenRequest& request) {
    request.resampling = ReadResampling(line);
    if (line.Has("--bit-depth")) request.bitDepth = ReadBitDepth(line);
    if (line.Has("--projwin") && line.Has("--bbox"))
        throw UsageError("--projwin and --bbox both say which part to fuse; give one of them");
    for (const char* option : {"--projwin", "--bbox"})
        if (line.Has(option)) request.part = ParsePart(line, option);
}

/// Two numbers with a comma between them.
std::array<double, 2> ParsePair(const std::string& option, const std::string& text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos)
        throw UsageError(option + ": '" + text + "' is no two numbers with a comma between them");
    return {ParseNumber(option, text.substr(0, comma)), ParseNumber(option, text.substr(comma + 1))};
}

void ReadShift(const CommandLine& line, rasterhost::PairRequest& request) {
    const std::string shift = KOVA::Tessara::Fundament::ToLower(line.Get("--shift"));
    request.measureShift = shift == "auto";
    if (request.measureShift) return;
    const auto [right, below] = ParsePair("--shift", shift);
    request.shift = {right, below};
}

void ReadGrids(const CommandLine& line, SharpenRequest& request) {
    const std::string extent = KOVA::Tessara::Fundament::ToLower(line.Get("--extent"));
    if (extent != "pan" && extent != "intersection")
        throw UsageError("--extent: there is no '" + line.Get("--extent") + "'" +
                         Suggestion(extent, {"pan", "intersection"}) + "; give pan or intersection");
    request.onlyIntersection = extent == "intersection";
    request.sameCorner = line.Has("--same-corner");
    ReadShift(line, request);
}

void ReadScale(const CommandLine& line, rasterhost::PairRequest& request) {
    if (!line.Has("--scale")) return;
    request.findScale = StringsEqual(line.Get("--scale"), "auto", true);
    if (request.findScale) return;
    request.scale = ParsePair("--scale", line.Get("--scale"));
    if (!((*request.scale)[0] < (*request.scale)[1]))
        throw UsageError("--scale: the least value comes first, then the greatest; '" + line.Get("--scale") +
                         "' leaves nothing between them");
}

void ReadNoData(const CommandLine& line, rasterhost::PairRequest& request) {
    if (line.Has("--nodata")) request.noData = ParseNumber("--nodata", line.Get("--nodata"));
    request.ignoreNoData = line.Has("--no-nodata");
    if (request.noData && request.ignoreNoData)
        throw UsageError(
            "--nodata names a value that means no data and --no-nodata says that none does; give "
            "one of them");
}

const PansharpMethod& FindMethod(const PansharpDescription& plugin, const std::string& typed) {
    std::vector<std::string> keywords;
    std::string listed;
    for (const PansharpMethod& method : hostkit::MethodsOf(plugin)) {
        if (StringsEqual(method.keyword, typed, true)) return method;
        keywords.push_back(KOVA::Tessara::Fundament::ToLower(method.keyword));
        listed += (listed.empty() ? "" : ", ") + keywords.back();
    }
    throw UsageError("--method: the plug-in has no method '" + typed + "'" + Suggestion(typed, keywords) +
                     "; it offers " + listed);
}

/// The method that is named; else that of the run whose weights are taken, the plug-in's default for options
/// that a recommended one makes nothing of, or the recommended one.
const PansharpMethod& ChooseMethod(const CommandLine& line, const PansharpDescription& plugin,
                                   const SharpenRequest& request, std::vector<std::string>& warnings) {
    const auto* recommended = hostkit::FindRecommended(plugin);
    if (!recommended || !request.method.empty() || line.Has("--method"))
        return FindMethod(plugin, request.method);
    if (line.Has("--weights-from"))
        return FindMethod(plugin, ReadRunWeights(line.Get("--weights-from")).method);
    if (!hostkit::UsesLowPass(*recommended)) return *recommended;
    std::string weighs;
    for (const char* option : {"--infrared-weight", "--infrared", "--weights"})
        if (line.Has(option)) weighs = option;
    const auto* shares = hostkit::FindParameter(*recommended, PansharpFit::Share);
    for (const auto& [name, value] : request.properties)
        if (shares && (hostkit::IsNamed(shares->band, name) || hostkit::IsNamed(shares->additional, name)))
            weighs = "--set " + name;
    if (weighs.empty()) return *recommended;
    warnings.push_back(weighs + ": the method " + plugin.methods[0].keyword + " is taken, since " +
                       recommended->keyword + " weighs no bands; name one with --method");
    return plugin.methods[0];
}

bool HasProperty(std::span<const PansharpProperty> properties, const std::string& name) {
    return std::any_of(properties.begin(), properties.end(),
                       [&](const PansharpProperty& property) { return hostkit::IsNamed(property, name); });
}

/// A report or picture must not take the place of what the run reads or makes, nor be one of it.
void AddReport(const std::string& option, const std::string& report, SharpenRequest& request) {
    rasterhost::RunFiles files = rasterhost::FilesOf(request);
    files.Add(request.output, "the output");
    if (const std::string use = files.FindUse(report); !use.empty())
        throw UsageError(option + ": '" + report + "' is " + use + " of this run; choose another name");
    request.otherFiles.emplace_back(report, "the file of " + option);
}

} // namespace

SharpenRequest MakeSharpenRequest(const CommandLine& line) {
    SharpenRequest request;
    ReadInputs(line, request);
    ReadOutput(line, request);
    ReadFusion(line, request);
    ReadSampling(line, request);
    ReadGrids(line, request);
    ReadScale(line, request);
    ReadNoData(line, request);
    request.alpha = line.Has("--alpha");
    if (line.Has("--plugin")) request.plugin = line.Get("--plugin");
    for (const char* option : {"--settings", "--weights-from"})
        if (line.Has(option))
            request.otherFiles.emplace_back(line.Get(option), std::string("the file of ") + option);
    if (line.Has("--status-xml")) AddReport("--status-xml", FileName(line, "--status-xml"), request);
    if (line.Has("--threads"))
        request.threads = static_cast<int>(ParseWhole("--threads", line.Get("--threads"), 1, mostThreads));
    if (line.Has("--window")) request.windowRows = ParseWhole("--window", line.Get("--window"), 1, mostRows);
    return request;
}

std::optional<rasterhost::PreviewRequest> MakePreviewRequest(const CommandLine& line,
                                                             SharpenRequest& request) {
    if (!line.Has("--preview")) {
        if (line.Has("--preview-at"))
            throw UsageError("--preview-at is given without a picture; name it with --preview FILE.png");
        return std::nullopt;
    }
    rasterhost::PreviewRequest preview{line.Get("--preview"), std::nullopt};
    if (!KOVA::Tessara::Fundament::ToLower(preview.file).ends_with(".png"))
        throw UsageError("--preview: '" + preview.file +
                         "' is not the name of a PNG file; let it end in .png");
    AddReport("--preview", preview.file, request);
    request.hasPreview = true;
    if (!line.Has("--preview-at")) return preview;
    preview.at = ParsePair("--preview-at", line.Get("--preview-at"));
    return preview;
}

SharpenRequest MakeInfoRequest(const CommandLine& line) {
    SharpenRequest request;
    ReadInputs(line, request);
    if (line.Has("--method")) request.method = line.Get("--method");
    request.bands = ParseBandList("--bands", line.Get("--bands"));
    if (line.Has("--bit-depth")) request.bitDepth = ReadBitDepth(line);
    request.sameCorner = line.Has("--same-corner");
    ReadScale(line, request);
    ReadNoData(line, request);
    if (line.Has("--plugin")) request.plugin = line.Get("--plugin");
    return request;
}

rasterhost::CompareRequest MakePairRequest(const CommandLine& line) {
    rasterhost::CompareRequest request;
    ReadInputs(line, request);
    if (line.Has("--resampling")) request.onlyResampling = ReadResampling(line);
    request.bands = ParseBandList("--bands", line.Get("--bands"));
    if (line.Has("--bit-depth")) request.bitDepth = ReadBitDepth(line);
    request.sameCorner = line.Has("--same-corner");
    ReadShift(line, request);
    ReadScale(line, request);
    ReadNoData(line, request);
    if (line.Has("--plugin")) request.plugin = line.Get("--plugin");
    return request;
}

std::vector<std::string> FitToPlugin(const CommandLine& line, const PansharpDescription& plugin,
                                     SharpenRequest& request) {
    std::vector<std::string> warnings;
    const PansharpMethod& method = ChooseMethod(line, plugin, request, warnings);
    request.method = method.keyword;
    const auto refuse = [&](const std::string& option, const char* what) {
        throw UsageError(option + ": the method " + request.method + " takes no " + what + "; leave " +
                         option + " out or choose another method");
    };
    if (line.Has("--weights") && !hostkit::WeighsBands(method)) refuse("--weights", "weights of bands");
    if (line.Has("--weights-from") && !hostkit::WeighsBands(method) && !hostkit::UsesLowPass(method))
        refuse("--weights-from", "weights of bands");
    if (line.Has("--weights-from") && hostkit::WeighsBands(method) && request.weights.empty())
        throw UsageError("--weights-from: the run of '" + line.Get("--weights-from") +
                         "' weighed no bands; take a run of another method");
    if (line.Has("--infrared") && hostkit::UsesLowPass(method)) refuse("--infrared", "infrared band");
    for (const std::string option : {"--mtf", "--gains"})
        if (line.Has(option) && !hostkit::UsesLowPass(method)) refuse(option, "blur or gains");
    if (!hostkit::UsesLowPass(method)) {
        request.transfer.reset();
        request.gains.clear();
    }
    if (line.Has("--weights-from")) {
        const std::string file = line.Get("--weights-from");
        if (const std::string run = ReadRunWeights(file).method; !StringsEqual(run, request.method, true))
            warnings.push_back("--weights-from: the run of '" + file + "' was one of " + run +
                               "; its weights are taken for " + request.method);
    }
    for (const auto& [name, value] : request.properties)
        if (!HasProperty(std::span(plugin.properties, plugin.propertyCount), name) &&
            !HasProperty(hostkit::PropertiesOf(method), name))
            warnings.push_back("the property " + name +
                               ": the plug-in names no such property for the method " + request.method +
                               "; 'pansharp methods' lists those it reads");
    return warnings;
}

} // namespace cli
