// Options of more than one command, included only by OptionTable.cpp.
#pragma once

#include "cli/OptionReaders.h"
#include "cli/OptionTable.h"

// NOLINTBEGIN(misc-definitions-in-headers): one file includes it.
namespace cli {

namespace {

constexpr std::string_view inputHeading = "Inputs and outputs";
constexpr std::string_view fusionHeading = "Fusion";
constexpr std::string_view qualityHeading = "Quality";
constexpr std::string_view runHeading = "Running";
constexpr std::string_view advancedHeading = "Advanced";
constexpr std::string_view helpHeading = "Help";

} // namespace

// Options that others ask for by their handle.
namespace option {

constexpr OptionEntry method = {{"--method", "METHOD", "what the plug-in recommends", fusionHeading,
                                 "how to fuse; 'pansharp methods' lists the methods"},
                                SetText<&Arguments::method>};
constexpr OptionEntry weights = {
    {"-w,--weights", "W1,W2,...|equal|auto", "auto", fusionHeading,
     "weights of the multispectral bands in the simulated pan, one per band, in order. 'equal' gives all "
     "bands, the infrared band included, equal weights with a sum of 1. 'auto' fits the weights so that the "
     "weighted bands come as near to pan as possible"},
    ReadWeights};
constexpr OptionEntry weightsFrom = {{"--weights-from", "RUN.json", "", fusionHeading,
                                      "use the weights of an earlier run, the infrared band's included, or "
                                      "its blur and gains. RUN.json is what that run printed with --json"},
                                     ReadWeightsFrom};
constexpr OptionEntry infrared = {
    {"--infrared", "FILE[,band=N]", "", fusionHeading,
     "an infrared band that takes part in the simulated pan and is not written"},
    SetInput<&Arguments::infrared>};
constexpr OptionEntry infraredWeight = {{"--infrared-weight", "W", "fitted, or the share of one band",
                                         fusionHeading, "weight of the infrared band in the simulated pan"},
                                        ReadInfraredWeight};
constexpr OptionEntry transfer = {{"--mtf", "auto|G", "auto", fusionHeading,
                                   "modulation transfer of the multispectral sensor at the Nyquist frequency "
                                   "of its pixels, 0.05 to 0.9. It sets the blur of pan's low-pass. 'auto' "
                                   "measures it on the pair. For methods that compare pan with its low-pass"},
                                  ReadTransfer};
constexpr OptionEntry gains = {
    {"--gains", "auto|A1:B1,...", "auto", fusionHeading,
     "how much of pan's detail each multispectral band takes, in order: A is a share of the detail, B a "
     "share of the detail times the band's ratio to pan's low-pass. 'auto' fits both one scale down, where "
     "the truth is known. For the same methods as --mtf"},
    ReadGains};
constexpr OptionEntry projwin = {{"--projwin", "ULX ULY LRX LRY", "all of pan", fusionHeading,
                                  "fuse only the part between these two corners, upper left and lower right, "
                                  "in map units of pan. The pixels are the same as in the whole result"},
                                 ReadPart};
constexpr OptionEntry bbox = {{"--bbox", "XMIN YMIN XMAX YMAX", "all of pan", fusionHeading,
                               "the same, by the smallest and largest coordinates"},
                              ReadPart};
constexpr OptionEntry bitDepth = {
    {"--bit-depth", "N", "what the files declare, else all", fusionHeading,
     "how many bits of 16-bit samples are used, 9 to 16, such as 11. No result uses more"},
    SetWhole<&Arguments::bitDepth, 9, 16>};
constexpr OptionEntry noData = {{"--nodata", "V", "what the files declare", fusionHeading,
                                 "the sample value that means no data, in every input and in the output"},
                                ReadNoData};
constexpr OptionEntry reference = {
    {"--reference", "TRUTH", "", inputHeading, "what the image should be: the same bands and pixels"},
    nullptr,
    true};
constexpr OptionEntry pan = {{"--pan", "PAN", "", inputHeading,
                              "the panchromatic raster that the image was made of. Without --ms: a .pansharp "
                              "file, which names both rasters"}};
constexpr OptionEntry ms = {
    {"--ms", "MS", "", inputHeading, "the multispectral raster that it was made of"}, nullptr, true};
constexpr OptionEntry simd = {{"--simd", "TARGET", "the best, or what PANSHARP_SIMD names", advancedHeading,
                               "vector instructions to use, or 'scalar'; the pixels do not depend on it"},
                              nullptr,
                              false,
                              "scalar"};
constexpr OptionEntry version = {{"--version", "", "", helpHeading,
                                  "print the versions of the program and the plug-in, and the vector "
                                  "instructions in use; 'pansharp version' does the same"}};
constexpr OptionEntry optionsJson = {
    {"--options-json", "", "", helpHeading,
     "print every command with its options as one JSON object, for programs that call this one"}};
constexpr OptionEntry help = {{"-h,--help", "", "", helpHeading, "print this help"}};

} // namespace option

namespace {

constexpr OptionEntry jsonOption = {
    {"--json", "", "", runHeading,
     "print one JSON object on standard output instead of text, on failure too"},
    SetFlag<&Arguments::json>};
constexpr OptionEntry pluginOption = {{"--plugin", "FILE", "the installed one, or what PANSHARP_PLUGIN names",
                                       advancedHeading, "the plug-in to run"},
                                      SetText<&Arguments::plugin>};
constexpr OptionEntry bandsOption = {
    {"-b,--bands", "LIST", "all", fusionHeading,
     "multispectral bands to write, in order, by number from 1, such as 3,2,1, or by name, such as "
     "red,green,blue,nir. The others only take part in the simulated pan. Names come from the product; "
     "without one, from what the files say about their bands"},
    ReadBands};
constexpr OptionEntry rgbOption = {
    {"--rgb", "", "", fusionHeading, "write red, green and blue: the same as --bands red,green,blue"},
    ReadNaturalColours};

constexpr OptionEntry noNoDataOption = {
    {"--no-nodata", "", "", fusionHeading,
     "treat every sample as data, whatever the files declare, including zeros along the edge"},
    ReadNoNoData};

constexpr OptionEntry shiftOption = {
    {"--shift", "DX,DY|auto", "0,0", fusionHeading,
     "how far the multispectral content is displaced to the right and down, in multispectral pixels, as "
     "'pansharp info' reports it. The content is moved back. 'auto' measures the shift"},
    ReadShift};
constexpr OptionEntry resamplingOption = {
    {"-r,--resampling", "bilinear|cubic", "cubic", fusionHeading,
     "how the multispectral bands are interpolated at the pixels of pan"},
    SetResampling<&Arguments::resampling>};
constexpr OptionEntry blurOption = {
    {"--mtf", "G1,G2,...", "0.3", qualityHeading,
     "modulation transfer of the multispectral sensor at the Nyquist frequency: one for all bands, or one "
     "per band, that of an infrared band last. Images are degraded with the Gaussian blur that has this "
     "transfer"},
    ReadBlur};
constexpr OptionEntry panBlurOption = {{"--mtf-pan", "G", "0.15", qualityHeading, "the same of pan"},
                                       ReadPanBlur};
constexpr OptionEntry noDataOfAllOption = {
    {"--nodata", "V", "what the files declare", qualityHeading,
     "the sample value that means no data, in every image; such pixels are left out"},
    ReadNoData};
constexpr OptionEntry noNoDataOfAllOption = {
    {"--no-nodata", "", "", qualityHeading, "treat every sample as data, whatever the files declare"},
    ReadNoNoData};

constexpr PositionalEntry sharpenPositionals[] = {
    {"PAN",
     "the panchromatic raster: one band, with the pixel size of the result. Without MS: a product as it was "
     "delivered (a folder, an archive or a metadata file), or a .pansharp file, which describes a scene"},
    {"MS",
     "the multispectral bands, in order: one file with several bands, several files, or FILE,band=N for one "
     "band of a file"},
};

constexpr OptionEntry scaleOption = {
    {"--scale", "MIN,MAX|auto", "", fusionHeading,
     "map the values from MIN to MAX to 16 bits, in all inputs and for any sample type. The output records "
     "scale and offset. 'auto' finds the range in a part of the inputs"},
    ReadScale};
constexpr OptionEntry sameCornerOption = {
    {"--same-corner", "", "", fusionHeading,
     "ignore the positions of the inputs and assume that all have the corner and extent of pan"},
    SetFlag<&Arguments::sameCorner>};

constexpr OptionEntry threadsOption = {
    {"-j,--threads", "N", "one per processor", runHeading, "number of threads that fuse"},
    SetWhole<&Arguments::threads, 1, 1024>};

} // namespace

} // namespace cli
// NOLINTEND(misc-definitions-in-headers)
