#pragma once

#include "fitting/BandGains.h"
#include "hostkit/Point.h"
#include "hostkit/Resampling.h"
#include "hostkit/SampleBlock.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What users ask for, with one type per step: a step takes the smallest request that has what it needs.
/// Defaults are those of the command.
namespace rasterhost {

using fitting::BandGains;

/// The meaning of samples: `scale * sample + offset`.
struct SampleMeaning {
    double scale = 1.0;
    double offset = 0.0;
    friend bool operator==(const SampleMeaning&, const SampleMeaning&) = default;
};

/// One input image: a file name as GDAL takes it, and a band counted from 1; without a band, all bands of the
/// file.
struct InputBand {
    std::string file;
    std::optional<int> band;
    /// What a product tells of that band: its name (reading/BandNames.h) and its central wavelength in
    /// micrometres. If unset, they come from the file.
    std::string name = {};
    std::optional<double> wavelength = {};
    std::optional<SampleMeaning> meaning = {}; ///< of its samples, instead of what the file declares
};

/// The images of a pair, their placement, their resampling to the grid of pan, what counts as data, and which
/// bands and part to use.
struct PairRequest {
    InputBand pan;
    std::vector<InputBand> multispectral; ///< bands in the order given
    std::optional<InputBand> infrared;
    /// Multispectral bands to write, counted from 1, in order; empty for all.
    std::vector<int> bands;
    /// The same by name, instead of numbers. ResolveBands (scene/BandChoice.h) converts them to numbers.
    std::vector<std::string> bandNames;
    hostkit::Resampling resampling = hostkit::Resampling::Cubic;

    /// All images have the corner and extent of pan, whatever their georeferencing says.
    bool sameCorner = false;
    /// For images without any position: the centres of the first pixels coincide if the sizes allow it. This
    /// requires a whole number of pan pixels between adjacent centres, and that the centres of the last
    /// pixels coincide as well.
    bool sameFirstCentre = false;
    /// How far the multispectral and infrared content is displaced to the right and down, in multispectral
    /// pixels; this is corrected. With `measureShift` it is measured instead, and corrected if the
    /// measurement is reliable.
    hostkit::Point shift;
    bool measureShift = false;

    /// Bit depth of the samples in 16-bit files, 9 to 16. If unset, the depth that the files declare, else
    /// the full one. No result is larger than this depth allows.
    std::optional<int> bitDepth;
    /// The values that are mapped to 1 and 65535 in all inputs, for any sample type. The output records scale
    /// and offset.
    std::optional<std::array<double, 2>> scale;
    bool findScale = false; ///< find these two values in the inputs
    bool takesScale = true; ///< false when neither can be given, so that no message advises them
    /// The value for no data in all inputs, whatever they declare.
    std::optional<double> noData;
    bool ignoreNoData = false; ///< all samples are data
    /// When the scene was taken, such as 2017-08-13T15:48:30Z. If empty, it comes from the file of pan.
    std::string acquired;
    std::string product; ///< name of the product that the images come from; empty for none
    /// Files whose transparency band is known: its number by file name, 0 for none. In other files it is
    /// searched in the pixels.
    std::map<std::string, int> transparency;

    /// Part of the scene in map units of pan (left, top, right, bottom), rounded to whole pan pixels; if
    /// unset, all of pan. Its pixels are those that the whole scene would have there.
    std::optional<std::array<double, 4>> part;
    /// Use only the part of pan that lies on all other images.
    bool onlyIntersection = false;
    /// A window of that part, in pixels from its corner; if unset, all of it. It need not have data.
    std::optional<hostkit::PixelRect> window;
};

/// Where weights come from when a request does not give them.
enum class WeightSource {
    Fit,  ///< fitted to the images, if the method weighs bands and no raw property sets a weight
    Equal ///< 1 / n each, the infrared band counted
};

/// How a pair is fused.
struct FusionRequest {
    std::string method; ///< a keyword in any letter case; empty for the plug-in's recommended one
    /// Effective weights of the multispectral bands in the simulated pan, in order; empty to take them from
    /// `weightSource`.
    std::vector<double> weights;
    std::optional<double> infraredWeight;
    WeightSource weightSource = WeightSource::Fit;
    /// For a method that compares pan with its low-pass: the modulation transfer of the multispectral sensor
    /// at the Nyquist frequency of its pixels, 0.05 to 0.9, and the gains of each multispectral band. What is
    /// not given is fitted to the images.
    std::optional<double> transfer;
    std::vector<BandGains> gains;
    /// The published transfer of the sensor, used if it cannot be measured in the images.
    std::optional<double> publishedTransfer;
    /// Raw process properties; they override all others.
    std::vector<std::pair<std::string, std::string>> properties;
};

/// The file to write.
struct OutputRequest {
    std::string output;
    /// GDAL's short driver name; if empty, the extension of the output's name decides.
    std::string format;
    std::vector<std::string> creationOptions;
    /// Additional metadata of the output.
    std::vector<std::pair<std::string, std::string>> metadata;
    bool overwrite = false;
    /// Other files that the caller reads or writes, each with a description such as "the settings". The
    /// output must not replace any of them.
    std::vector<std::pair<std::string, std::string>> otherFiles;
    /// Write samples of 8 bits, with each band stretched from its 2nd to its 98th percentile: for viewing,
    /// not for measuring.
    bool isPicture = false;
    bool alpha = false;      ///< write a last band that marks where there is data
    bool hasPreview = false; ///< a preview of the output will be made, which takes memory
};

inline constexpr std::uint32_t mostPreviewPixels = 512; ///< across and down a panel of a picture

/// How a run works. None of this changes a pixel.
struct RunOptions {
    std::string plugin;           ///< path of the plug-in; empty for the installed one
    int threads = 0;              ///< 0 for one per processor
    std::uint32_t windowRows = 0; ///< 0: chosen from the sizes
    /// Largest estimated memory of the run, in bytes; 0 for all memory of the machine.
    std::uint64_t mostMemory = 0;

    /// Called with the fraction done, 0 to 1, in ascending order and by one thread at a time. Returning false
    /// cancels.
    std::function<bool(double)> progress;
    /// Called for each warning as it is found.
    std::function<void(const std::string&)> warn;
};

/// What to fuse, how, and into which file.
struct SharpenRequest : PairRequest, FusionRequest, OutputRequest, RunOptions {};

} // namespace rasterhost
