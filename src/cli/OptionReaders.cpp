#include "cli/OptionReaders.h"

#include "cli/ExitCode.h"
#include "cli/ProductInput.h"
#include "cli/SceneInput.h"
#include "cli/SettingsFile.h"
#include "fundament/Text.h"
#include "host/PropertyNames.h"
#include "rasterhost/reading/FileState.h"
#include "rasterhost/reading/NetworkFile.h"
#include "rasterhost/writing/RunFiles.h"

#include <array>
#include <filesystem>
#include <span>
#include <sstream>
#include <utility>

namespace cli {

using KOVA::Tessara::Fundament::StartsWith;
using KOVA::Tessara::Fundament::StringsEqual;
using rasterhost::WeightSource;

namespace {

/// The name of a file to write.
const std::string& FileName(const TypedOption& option) {
    if (option.Value() == "-")
        throw UsageError(
            option.name +
            ": the output cannot go to standard output; name a file (./- is a file of that name)");
    return option.Value();
}

/// Adds a file beside the output. It must not be, or replace, a file that the run reads or makes.
void AddBeside(const TypedOption& option, Arguments& to) {
    rasterhost::RunFiles files = rasterhost::FilesOf(to);
    files.Add(to.output, "the output");
    if (const std::string use = files.FindUse(option.Value()); !use.empty())
        throw UsageError(option.name + ": '" + option.Value() + "' is " + use +
                         " of this run; choose another name");
    to.otherFiles.emplace_back(option.Value(), "the file of " + option.name);
}

bool IsAuto(const TypedOption& option) { return StringsEqual(option.Value(), "auto", true); }

double ParseTransfer(const std::string& option, const std::string& text) {
    const double transfer = ParseNumber(option, text);
    if (transfer > 0.0 && transfer < 1.0) return transfer;
    throw UsageError(option + ": '" + text +
                     "' is not a modulation transfer; give numbers above 0 and below 1, such as 0.3");
}

} // namespace

void ReadOutput(const TypedOption& option, Arguments& to) {
    to.output = rasterhost::NameForGdal(FileName(option));
    if (StartsWith(to.output, "/vsimem/", false))
        throw UsageError("-o: '" + to.output + "' would disappear when this run ends; name a file on a disk");
}

void ReadFormat(const TypedOption& option, Arguments& to) {
    to.format = option.Value();
    if (to.format.empty()) throw UsageError(option.name + ": the format is empty; give one such as GTiff");
}

void ReadCreationOptions(const TypedOption& option, Arguments& to) {
    for (const std::string& value : option.values)
        (void)ParseNameValue(option.name, value);
    to.creationOptions = option.values;
}

void ReadMetadata(const TypedOption& option, Arguments& to) {
    for (const std::string& value : option.values)
        to.metadata.push_back(ParseNameValue(option.name, value));
}

void ReadWindow(const TypedOption& option, Arguments& to) {
    constexpr std::uint32_t most = 0x7FFFFFFF;
    std::array<std::uint32_t, 4> numbers{}; // first column and row, columns and rows
    for (std::size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = ParseWhole(option.name, option.values[i], i < 2 ? 0 : 1, most);
    const auto& [column, row, columns, rows] = numbers;
    to.window = {column, row, column + columns, row + rows};
}

void ReadPreview(const TypedOption& option, Arguments& to) {
    if (!KOVA::Tessara::Fundament::ToLower(option.Value()).ends_with(".png"))
        throw UsageError(option.name + ": '" + option.Value() +
                         "' is not the name of a PNG file; give a name that ends in .png");
    AddBeside(option, to);
    to.preview = {option.Value(), std::nullopt};
    to.hasPreview = true;
}

void ReadPreviewPlace(const TypedOption& option, Arguments& to) {
    if (!to.preview)
        throw UsageError(option.name + " is given without a picture; name it with --preview FILE.png");
    to.preview->at = ParsePair(option.name, option.Value());
}

void ReadPicture(const TypedOption& option, Arguments& to) {
    if (to.preview)
        throw UsageError(option.name +
                         " and --preview: the output is a picture itself; leave one of them out");
    to.isPicture = true;
}

void ReadStatusXml(const TypedOption& option, Arguments& to) {
    to.statusXml = FileName(option);
    AddBeside(option, to);
}

void ReadOutFolder(const TypedOption& option, Arguments& to) {
    to.folder = FileName(option);
    if (to.folder.empty()) throw UsageError(option.name + ": the name of the folder is empty; give one");
    if (StartsWith(rasterhost::NameForGdal(to.folder), "/vsi", false))
        throw UsageError(option.name + ": '" + to.folder +
                         "' is not in the file system, and the results can only be written there; name a "
                         "folder in the file system and copy its files");
}

void ReadTimeLimit(const TypedOption& option, Arguments& to) {
    to.timeLimit = ParseNumber(option.name, option.Value());
    if (to.timeLimit <= 0.0)
        throw UsageError(option.name + ": '" + option.Value() +
                         "' is not a time; give seconds above 0, such as 3600");
}

void ReadPort(const TypedOption& option, Arguments& to) {
    to.port = static_cast<std::uint16_t>(ParseWhole(option.name, option.Value(), 1, 65535));
}

void ReadKeep(const TypedOption& option, Arguments& to) {
    to.keep = option.Value();
    if (!to.keep.empty() && !std::filesystem::is_directory(to.keep))
        throw UsageError(option.name + ": there is no folder '" + to.keep + "'; make it first");
}

void ReadWeights(const TypedOption& option, Arguments& to) {
    to.weights = ParseWeights(option.name, option.Value());
    to.weightSource = StringsEqual(option.Value(), "equal", true) ? WeightSource::Equal : WeightSource::Fit;
}

/// Blur and gains that are typed take precedence over those of the run.
void ReadWeightsFrom(const TypedOption& option, Arguments& to) {
    const std::string& file = option.Value();
    if (option.line.Has(option::weights))
        throw UsageError("--weights and --weights-from both set the weights; give one of them");
    const RunWeights run = ReadRunWeights(file);
    if (!option.line.Has(option::transfer)) to.transfer = run.transfer;
    if (!option.line.Has(option::gains)) to.gains = run.gains;
    to.weights = run.bands;
    if (run.infrared && !to.infrared)
        throw UsageError(option.name + ": the run of '" + file +
                         "' had an infrared band that took part; name one with --infrared");
    if (to.infrared && !option.line.Has(option::infraredWeight)) to.infraredWeight = run.infrared;
    if (to.infrared && !to.infraredWeight)
        throw UsageError(option.name + ": the run of '" + file +
                         "' had no infrared band; give the weight of this one with --infrared-weight");
    to.earlier = run;
    to.otherFiles.emplace_back(file, "the file of " + option.name);
}

void ReadInfraredWeight(const TypedOption& option, Arguments& to) {
    if (!to.infrared)
        throw UsageError(option.name + " is given without an infrared band; name it with --infrared");
    to.infraredWeight = ParseNumber(option.name, option.Value());
}

void ReadTransfer(const TypedOption& option, Arguments& to) {
    to.transfer.reset();
    if (!IsAuto(option)) to.transfer = ParseNumber(option.name, option.Value());
}

void ReadGains(const TypedOption& option, Arguments& to) {
    to.gains = ParseGains(option.name, option.Value());
}

/// A method that is typed takes precedence over that of the settings, since it is read later.
void ReadSettingsFile(const TypedOption& option, Arguments& to) {
    for (const auto& [name, value] : ReadSettings(option.Value()))
        if (!StringsEqual(name, KOVA::Tessara::PropertyNames::method, true)) {
            to.properties.emplace_back(name, value);
        } else {
            to.method = value;
        }
    to.otherFiles.emplace_back(option.Value(), "the file of " + option.name);
}

/// Read last, so that they take precedence over all others.
void ReadProperties(const TypedOption& option, Arguments& to) {
    for (const std::string& property : option.values)
        to.properties.push_back(ParseNameValue(option.name, property));
}

void ReadPart(const TypedOption& option, Arguments& to) {
    const bool isBox = option.name == option::bbox.Key();
    if (option.line.Has(option::projwin) && option.line.Has(option::bbox))
        throw UsageError("--projwin and --bbox both say which part to fuse; give one of them");
    const std::vector<std::string>& texts = option.values;
    std::array<double, 4> part{}; // left, top, right, bottom
    for (std::size_t i = 0; i < part.size(); ++i)
        part[i] = ParseNumber(option.name, texts[i]);
    if (isBox) std::swap(part[1], part[3]);
    const auto& [left, top, right, bottom] = part;
    if (left >= right || (isBox ? bottom >= top : bottom == top))
        throw UsageError(option.name + ": nothing lies between '" + texts[0] + " " + texts[1] + "' and '" +
                         texts[2] + " " + texts[3] + "'; " +
                         (isBox ? "give the smallest x and y first, then the largest"
                                : "give the upper left corner first, then the lower right one"));
    to.part = part;
}

void ReadExtent(const TypedOption& option, Arguments& to) {
    to.onlyIntersection = ParseChoice(option.name, option.Value(), {"pan", "intersection"}) == 1;
}

void ReadShift(const TypedOption& option, Arguments& to) {
    to.shift = {};
    to.measureShift = IsAuto(option);
    if (to.measureShift) return;
    const auto [right, below] = ParsePair(option.name, option.Value());
    to.shift = {right, below};
}

void ReadScale(const TypedOption& option, Arguments& to) {
    to.scale.reset();
    if (to.foundProduct && !option.line.Has(option::bitDepth))
        to.bitDepth.reset(); // it is that of unscaled samples
    to.findScale = IsAuto(option);
    if (to.findScale) return;
    to.scale = ParsePair(option.name, option.Value());
    if (!((*to.scale)[0] < (*to.scale)[1]))
        throw UsageError(option.name + ": give the smallest value first, then the largest; '" +
                         option.Value() + "' has nothing between them");
}

void ReadBands(const TypedOption& option, Arguments& to) {
    BandList list = ParseBandList(option.name, option.Value());
    to.bands = std::move(list.numbers);
    to.bandNames = std::move(list.names);
}

void ReadNaturalColours(const TypedOption& option, Arguments& to) {
    if (!to.bands.empty() || !to.bandNames.empty())
        throw UsageError("--bands and --rgb both say which bands to write; give one of them");
    to.bandNames = {"red", "green", "blue"};
    (void)option;
}

void ReadNoData(const TypedOption& option, Arguments& to) {
    to.noData = ParseNumber(option.name, option.Value());
    to.ignoreNoData = false;
}

void ReadNoNoData(const TypedOption& option, Arguments& to) {
    to.noData.reset();
    to.ignoreNoData = true;
    if (option.line.Has(option::noData))
        throw UsageError(
            "--nodata names a value that means no data and --no-nodata says that none does; give "
            "one of them");
}

void ReadBlur(const TypedOption& option, Arguments& to) {
    to.blur.multispectral.clear();
    std::istringstream list(option.Value());
    for (std::string part; std::getline(list, part, ',');)
        to.blur.multispectral.push_back(ParseTransfer(option.name, part));
    if (to.blur.multispectral.empty() || option.Value().ends_with(','))
        throw UsageError(option.name + ": no number is given; give one such as 0.3");
}

void ReadPanBlur(const TypedOption& option, Arguments& to) {
    to.blur.pan = ParseTransfer(option.name, option.Value());
}

void ReadRatio(const TypedOption& option, Arguments& to) {
    to.ratio = ParseNumber(option.name, option.Value());
    if (*to.ratio <= 0.0)
        throw UsageError(
            option.name + ": '" + option.Value() +
            "' is not a ratio; give the width of a coarse pixel divided by that of a fine one, such as 2");
}

void ReadBandsOfImage(const TypedOption& option, Arguments& to) {
    if (!option.line.Has(option::pan))
        throw UsageError("--bands names bands of the pair; for a reference name them as in --reference "
                         "FILE,band=3 --reference FILE,band=2");
    ReadBands(option, to);
}

namespace {

/// Takes a description or a product instead of a pair. False when the name is neither.
bool TakesOneName(const std::string& name, const CommandLine& line, Arguments& to) {
    const std::string file = rasterhost::NameForGdal(name);
    if (!NamesScene(file)) return TakesProduct(file, to);
    TakeScene(file, line, to);
    return true;
}

} // namespace

void ReadPair(const CommandLine& line, Arguments& to) {
    const std::vector<std::string>& files = line.GetPositionals();
    if (files.empty())
        throw UsageError(
            "no input is named; give the panchromatic raster and then the multispectral one, as in "
            "pansharp sharpen pan.tif ms.tif -o sharp.tif");
    if (files.size() == 1 && TakesOneName(files.front(), line, to)) return;
    to.pan = ParseInputBand(files.front());
    if (files.size() == 1) {
        const std::string& name = to.pan.file;
        const bool isMissing = name.find(':') == std::string::npos && !rasterhost::LookAt(name).exists;
        throw UsageError("only '" + files.front() + "' is named" +
                         (isMissing ? ", and there is no such file or folder; check the name, or give"
                                    : "; name a product by its folder, archive or metadata file, or give") +
                         " the multispectral raster, or one file per band, after pan");
    }
    to.multispectral = ParseInputs(std::span(files).subspan(1));
}

void ReadScenes(const CommandLine& line, Arguments&) {
    if (line.GetPositionals().empty())
        throw UsageError(
            "no scene is named; give a list or products, as in pansharp batch scenes.jsonl --out "
            "sharp");
}

void ReadFused(const CommandLine& line, Arguments& to) {
    to.fused = ParseInputs(line.GetPositionals());
    if (to.fused.empty())
        throw UsageError(
            "no image is named; give the fused raster, as in pansharp assess sharp.tif --pan pan.tif "
            "--ms ms.tif");
    to.reference = ParseInputs(line.GetAll(option::reference));
    const bool hasPan = line.Has(option::pan);
    if (hasPan && !line.Has(option::ms) && !line.Has(option::reference) &&
        TakesOneName(line.Get(option::pan), line, to))
        return;
    if (hasPan) to.pan = ParseInputBand(line.Get(option::pan));
    to.multispectral = ParseInputs(line.GetAll(option::ms));
    if (hasPan != line.Has(option::ms))
        throw UsageError("--pan and --ms name the pair that the image was made of; give both");
    if (hasPan == line.Has(option::reference))
        throw UsageError("there is nothing to compare the image with; give the truth with --reference, or "
                         "the pair that it was made of with --pan and --ms");
}

} // namespace cli
