#include "cli/OptionTable.h"

#include "cli/BatchOptions-inl.h"
#include "cli/SharedOptions-inl.h"
#include "cli/ViewOptions-inl.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace cli {

namespace {

constexpr OptionEntry sharpenOptions[] = {
    {{"-o,--output", "OUT", "", inputHeading,
      "the file to write. It appears only when it is complete. If the name ends in .pansharp, the file "
      "describes the scene: it has everything that was fitted and no pixels"},
     ReadOutput,
     false,
     {},
     "no output is named; add -o and the name of the file to write"},
    {{"-f,--of", "FORMAT", "what the ending of OUT stands for", inputHeading,
      "format of the output: the short name of a GDAL driver, or PANSHARP for a description. GTiff if OUT "
      "has no ending"},
     ReadFormat,
     false,
     "GTiff COG PANSHARP PNG JPEG JP2OpenJPEG HFA ENVI"},
    {{"--co", "NAME=VALUE", "", inputHeading, "creation option of the format, such as COMPRESS=DEFLATE"},
     ReadCreationOptions,
     true,
     "COMPRESS=DEFLATE COMPRESS=LZW COMPRESS=ZSTD PREDICTOR=2 BIGTIFF=YES NUM_THREADS=ALL_CPUS"},
    {{"--mo", "NAME=VALUE", "", inputHeading, "an entry to add to the output's metadata"},
     ReadMetadata,
     true},
    {{"--srcwin", "XOFF YOFF XSIZE YSIZE", "all of it", inputHeading,
      "write only this window of the result, in pixels from its upper left corner. The pixels are the same "
      "as in the whole result. If PAN is a .pansharp file, only the sizes of its inputs are then checked for "
      "changes, not their bytes"},
     ReadWindow},
    {{"--overwrite", "", "", inputHeading,
      "replace the output, and the files written beside it, if they exist"},
     SetFlag<&Arguments::overwrite>},
    {{"--preview", "FILE.png", "", inputHeading,
      "also make a picture of up to 512 x 512 pixels of the scene: pan, the upsampled multispectral bands "
      "and the result, side by side. Colours are natural if the bands are known; otherwise the first three "
      "bands written are shown as red, green and blue. Each colour has its own stretch"},
     ReadPreview},
    {{"--preview-at", "X,Y", "the middle of what is fused", inputHeading,
      "the middle of the picture, in map units of pan"},
     ReadPreviewPlace},
    {{"--byte", "", "", inputHeading,
      "write a picture to look at, not to measure in: 8 bits, each band stretched between its 2nd and 98th "
      "percentiles. The metadata of the output give the limits. Use it with --rgb; the ending of OUT "
      "chooses PNG or JPEG"},
     ReadPicture},
    option::method,
    option::weights,
    option::weightsFrom,
    option::infrared,
    option::infraredWeight,
    option::transfer,
    option::gains,
    bandsOption,
    rgbOption,
    resamplingOption,
    option::bitDepth,
    option::projwin,
    option::bbox,
    scaleOption,
    {{"--extent", "pan|intersection", "pan", fusionHeading,
      "fuse all of pan, or only the part that all inputs cover"},
     ReadExtent},
    sameCornerOption,
    shiftOption,
    option::noData,
    noNoDataOption,
    {{"--alpha", "", "", fusionHeading, "write a last band that marks the pixels without data by 0"},
     SetFlag<&Arguments::alpha>},
    threadsOption,
    {{"--dry-run", "", "", runHeading,
      "fuse nothing and write nothing. Report what 'pansharp info' reports for these options, and whether "
      "the output and the preview can be written"},
     SetFlag<&Arguments::dryRun>},
    {{"-v,--verbose", "", "", runHeading,
      "also report the plug-in, the vector instructions, the sampling and the format at the end"},
     SetFlag<&Arguments::verbose>},
    {{"-q,--quiet", "", "", runHeading, "print warnings and errors only"}, SetFlag<&Arguments::quiet>},
    jsonOption,
    {{"--window", "ROWS", "chosen from the sizes", advancedHeading,
      "number of rows that are fused at a time. The pixels do not depend on it"},
     SetWhole<&Arguments::windowRows, 1, 0x7FFFFFFF>},
    {{"--set", "NAME=VALUE", "", advancedHeading,
      "a raw property of the process, set after all others; 'pansharp methods' lists them"},
     ReadProperties,
     true},
    option::simd,
    {{"--settings", "FILE", "", advancedHeading,
      "an XML file of raw properties, with one element per property below its root. --set overrides it"},
     ReadSettingsFile},
    {{"--status-xml", "FILE", "", advancedHeading,
      "if the run fails, write the reasons to this file as an XML report; if it succeeds, --overwrite "
      "removes that of an earlier run"},
     ReadStatusXml},
    pluginOption,
    option::help,
};

constexpr auto batchOptions = OptionsBeside(sharpenOptions, notForBatches, ownBatchOptions, "--output");
constexpr auto viewOptions = OptionsBeside(sharpenOptions, notForViews, ownViewOptions, "--threads");

constexpr OptionEntry infoOptions[] = {option::method,   option::infrared, bandsOption,      rgbOption,
                                       option::bitDepth, scaleOption,      sameCornerOption, option::noData,
                                       noNoDataOption,   jsonOption,       pluginOption,     option::help};

constexpr PositionalEntry assessPositionals[] = {
    {"FUSED", "the image to assess: one file, or FILE,band=N for each band, in order"},
};

constexpr OptionEntry assessOptions[] = {
    option::reference,
    option::pan,
    option::ms,
    {{"-b,--bands", "LIST", "all", inputHeading,
      "the bands of MS that the image has, in the order of the image, by number from 1, such as 3,2,1, or by "
      "name"},
     ReadBandsOfImage},
    {{"--ratio", "R", "that of MS and PAN; without them there is no ERGAS", qualityHeading,
      "the width of a coarse pixel divided by that of a fine one, for ERGAS"},
     ReadRatio},
    blurOption,
    panBlurOption,
    noDataOfAllOption,
    noNoDataOfAllOption,
    jsonOption,
    option::help,
};

constexpr OptionEntry compareOptions[] = {
    {{"--keep", "FOLDER", "", inputHeading,
      "keep the degraded pair and the truth in this folder, as pan.tif, ms.tif and truth.tif, and "
      "infrared.tif if there is one"},
     ReadKeep},
    {{"--overwrite", "", "", inputHeading, "replace such files if they exist"},
     SetFlag<&Arguments::replaceKept>},
    option::infrared,
    {{"-b,--bands", "LIST", "all", fusionHeading,
      "multispectral bands to fuse and compare, by number from 1 or by name, in order. The others only take "
      "part in the simulated pan"},
     ReadBands},
    rgbOption,
    {{"-r,--resampling", "bilinear|cubic", "both", fusionHeading,
      "interpolate the multispectral bands only in this way"},
     SetResampling<&Arguments::onlyResampling>},
    option::bitDepth,
    scaleOption,
    sameCornerOption,
    shiftOption,
    blurOption,
    panBlurOption,
    noDataOfAllOption,
    noNoDataOfAllOption,
    jsonOption,
    pluginOption,
    option::help,
};

constexpr OptionEntry methodsOptions[] = {jsonOption, pluginOption, option::help};

constexpr OptionEntry jsonOfVersionOption = {
    {"--json", "", "", helpHeading, "with --version, print the versions as one JSON object"},
    SetFlag<&Arguments::json>};
constexpr OptionEntry programOptions[] = {
    option::version,
    jsonOfVersionOption,
    option::optionsJson,
    option::help,
};

// What a reader needs is read before it: the infrared band before its weight, and all files of a run before
// the files beside its output.
constexpr std::string_view sharpenOrder[] = {
    "--infrared",        "--output",    "--of",        "--co",           "--weights",    "--bands",
    "--infrared-weight", "--mtf",       "--gains",     "--weights-from", "--settings",   "--set",
    "--resampling",      "--bit-depth", "--projwin",   "--bbox",         "--extent",     "--shift",
    "--scale",           "--nodata",    "--no-nodata", "--plugin",       "--status-xml", "--threads",
    "--window"};
constexpr std::string_view compareOrder[] = {"--infrared", "--resampling", "--bands",  "--bit-depth",
                                             "--shift",    "--scale",      "--nodata", "--no-nodata",
                                             "--mtf-pan",  "--mtf"};
constexpr std::string_view viewOrder[] = {"--infrared",  "--weights", "--bands",        "--infrared-weight",
                                          "--mtf",       "--gains",   "--weights-from", "--resampling",
                                          "--bit-depth", "--projwin", "--bbox",         "--shift",
                                          "--scale",     "--nodata",  "--no-nodata"};
constexpr std::string_view assessOrder[] = {"--ratio", "--bands", "--mtf-pan"};

/// Checks that all names in an order exist; an unknown one would have no effect.
constexpr bool AreOptions(std::span<const std::string_view> keys, std::span<const OptionEntry> options) {
    return std::all_of(keys.begin(), keys.end(), [&](std::string_view key) {
        return std::any_of(options.begin(), options.end(),
                           [&](const OptionEntry& option) { return option.Key() == key; });
    });
}
static_assert(AreOptions(sharpenOrder, sharpenOptions) && AreOptions(compareOrder, compareOptions) &&
              AreOptions(assessOrder, assessOptions) && AreOptions(viewOrder, viewOptions));

constexpr CommandEntry commands[] = {
    {"sharpen", "pansharp sharpen PAN MS [MS ...] -o OUT [options]",
     "Fuses a sharp panchromatic raster with a coarser multispectral one. The result has the pixels of the "
     "first and the bands of the second.",
     sharpenPositionals, ReadPair, sharpenOptions, sharpenOrder,
     R"(Examples:
  pansharp sharpen pan.tif ms.tif -o sharp.tif
  pansharp sharpen B8.TIF B4.TIF B3.TIF B2.TIF -o sharp.tif --co COMPRESS=DEFLATE
  pansharp sharpen pan.tif ms.tif -o rgb.tif -w 0.2,0.3,0.3,0.2 -b 3,2,1
  pansharp sharpen pan.tif ms.tif,band=3 ms.tif,band=2 ms.tif,band=1 -o rgb.tif \
      --infrared ms.tif,band=4 --infrared-weight 0.25
  pansharp sharpen pan.tif ms.tif -o scene.pansharp && pansharp sharpen scene.pansharp -o all.tif
  pansharp sharpen pan.tif ms.tif -o part.tif --projwin 500000 4600000 510000 4590000

Bands in several files may differ in pixel size, extent and projection.

Exit codes: 0 done, 1 the work failed, 2 the command line is wrong, 130 interrupted.
)"},
    {"batch", "pansharp batch LIST.jsonl|PRODUCT [...] --out FOLDER [options]",
     "Sharpens many scenes, one after the other with all threads, and prints a line of JSON for each. It "
     "goes on after a failure. The same command line resumes an earlier run and skips what is done. Options "
     "of 'sharpen' hold for all scenes; a line of a list may give its own.",
     batchPositionals, ReadScenes, batchOptions, sharpenOrder,
     R"(Examples:
  pansharp batch scenes.jsonl --out sharp --time-limit 3600
  pansharp batch product/* --out rgb --rgb --co COMPRESS=DEFLATE

Exit codes: 0 all scenes are done, 1 a scene failed, 2 the command line is wrong, 130 interrupted.
)"},
    {"info",
     "pansharp info PAN MS [MS ...] [options]",
     "Checks a pair before it is fused: can it be fused, and how; how well do weighted bands match pan; are "
     "the images shifted against each other? It reads a sample of the pixels and writes nothing.",
     sharpenPositionals,
     ReadPair,
     infoOptions,
     {},
     R"(Examples:
  pansharp info pan.tif ms.tif
  pansharp info B8.TIF B4.TIF B3.TIF B2.TIF --infrared B5.TIF --json

The shift is how far the multispectral content is displaced to the right and
down against its georeferencing, in multispectral pixels.

Exit codes: 0 'pansharp sharpen' would work, 1 it would fail, 2 the command line is wrong.
)"},
    {"assess", "pansharp assess FUSED --reference TRUTH [--ratio R] | --pan PAN --ms MS [options]",
     "Measures how good a fused image is, against the truth if there is one, or against the pair that it was "
     "made of. Plain bilinear upsampling is measured too.",
     assessPositionals, ReadFused, assessOptions, assessOrder,
     R"(Examples:
  pansharp assess sharp.tif --pan pan.tif --ms ms.tif
  pansharp assess sharp.tif --reference truth.tif --ratio 4 --json

docs/quality.md defines the indices. QNR and HQNR favour an image to which
nothing was done. Look first at consistency and at the row of plain upsampling.

Exit codes: 0 done, 1 the work failed, 2 the command line is wrong.
)"},
    {"compare", "pansharp compare PAN MS [MS ...] [options]",
     "Finds the method that suits a scene. It degrades the pair by its own ratio and fuses it with every "
     "method and sampling, with fitted and with equal weights. It compares each result with the "
     "multispectral image.",
     sharpenPositionals, ReadPair, compareOptions, compareOrder,
     R"(Examples:
  pansharp compare pan.tif ms.tif
  pansharp compare B8.TIF B4.TIF B3.TIF B2.TIF --mtf 0.32,0.33,0.34 --json

ERGAS and SAM are 0 and Q is 1 for a perfect image; docs/quality.md defines them.
Of a scene with more than 1536 multispectral pixels across or down, only windows
are compared.

Exit codes: 0 done, 1 the work failed, 2 the command line is wrong.
)"},
    {"view", "pansharp view PAN MS [MS ...] [options]",
     "Shows a scene in the browser: pan, the upsampled bands and the sharpened image. You can swipe between "
     "them and try every method and weight. Pixels are fused when you look at them; nothing is written. It "
     "serves only this machine, until Ctrl-C ends it.",
     sharpenPositionals, ReadPair, viewOptions, viewOrder,
     R"(Examples:
  pansharp view pan.tif ms.tif
  pansharp view pan.tif ms.tif --bands 4,3,2 --open
  pansharp view scene.pansharp --port 8080

The page gives the command line that writes what it shows.

Exit codes: 0 ended by Ctrl-C, 1 the scene cannot be shown, 2 the command line is wrong.
)"},
    {"methods",
     "pansharp methods [options]",
     "Lists the methods of the plug-in, with their formulas, uses and properties.",
     {},
     nullptr,
     methodsOptions,
     {},
     R"(Examples:
  pansharp methods
  pansharp methods --json
)"},
};

constexpr CommandEntry program = {
    "",
    "pansharp COMMAND ...",
    "Pan-sharpening: the pixels of the panchromatic raster with the bands of the multispectral one.",
    {},
    nullptr,
    programOptions,
    {},
    R"(Example:
  pansharp sharpen pan.tif ms.tif -o sharp.tif

'pansharp COMMAND --help' and 'pansharp help COMMAND' say more about a command.
)"};

} // namespace

std::size_t OptionEntry::CountValues() const {
    return IsFlag() ? 0 : static_cast<std::size_t>(std::count(value.begin(), value.end(), ' ')) + 1;
}

bool SaysHowToFuse(const OptionEntry& option) {
    return option.heading == fusionHeading || option.read == ReadProperties ||
           option.read == ReadSettingsFile;
}

bool ChoosesBands(const OptionEntry& option) {
    return option.read == ReadBands || option.read == ReadNaturalColours;
}

std::string HelpOf(const OptionEntry& option) {
    std::string help(option.help);
    if (option.repeatable) help += ". May be repeated";
    if (!option.standard.empty()) help += " (default: " + std::string(option.standard) + ")";
    return help;
}

const CommandEntry& Program() { return program; }

std::span<const CommandEntry> Commands() { return commands; }

const CommandEntry& OpenCommand() {
    static const std::vector<OptionEntry> options = [] {
        std::vector<OptionEntry> kept;
        std::ranges::copy_if(sharpenOptions, std::back_inserter(kept), [](const OptionEntry& option) {
            return SaysHowToFuse(option) || option.Key() == pluginOption.Key();
        });
        return kept;
    }();
    static const CommandEntry open = {"open",   "",      {},           sharpenPositionals,
                                      ReadPair, options, sharpenOrder, {}};
    return open;
}

const CommandEntry& SceneCommand() {
    static const std::vector<OptionEntry> options = [] {
        std::vector<OptionEntry> kept;
        std::ranges::copy_if(sharpenOptions, std::back_inserter(kept),
                             [](const OptionEntry& option) { return !IsIn(notForScenes, option); });
        return kept;
    }();
    static const CommandEntry scene = {"sharpen", "",      {},           sharpenPositionals,
                                       ReadPair,  options, sharpenOrder, {}};
    return scene;
}

const CommandEntry* FindCommand(std::string_view name) {
    for (const CommandEntry& command : commands)
        if (command.name == name) return &command;
    return nullptr;
}

} // namespace cli
