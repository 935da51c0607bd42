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

/// What people ask for, one type for each step: a step takes the smallest request that has what it needs.
/// Defaults are those of the command.
namespace rasterhost {

using fitting::BandGains;

/// What samples mean: `scale * sample + offset`.
struct SampleMeaning {
    double scale = 1.0;
    double offset = 0.0;
    friend bool operator==(const SampleMeaning&, const SampleMeaning&) = default;
};

/// One input image: a file name as GDAL takes it, and a band of it counted from 1 or, without one, all its
/// bands.
struct InputBand {
    std::string file;
    std::optional<int> band;
    /// Of that band, where a product tells: its name (reading/BandNames.h) and the centre of what it sees, in
    /// micrometres. Else the file is asked.
    std::string name = {};
    std::optional<double> wavelength = {};
    std::optional<SampleMeaning> meaning = {}; ///< of its samples, in the place of what the file declares
};

/// The images of a pair, their placement, how they are sampled on the grid of pan, what counts as data, and
/// which bands and part are wanted.
struct PairRequest {
    InputBand pan;
    std::vector<InputBand> multispectral; ///< bands in the order given
    std::optional<InputBand> infrared;
    /// Multispectral bands to write, counted from 1, in order; empty for all.
    std::vector<int> bands;
    /// The same by name, in the place of numbers; ResolveBands (scene/BandChoice.h) puts those there.
    std::vector<std::string> bandNames;
    hostkit::Resampling resampling = hostkit::Resampling::Cubic;

    /// All images have the corner and extent of pan, whatever their georeferencing says.
    bool sameCorner = false;
    /// Of images without any position, the centres of the first pixels coincide where the sizes allow it: a
    /// whole number of pan pixels lies between the centres of neighbours, and the last ones coincide, too.
    bool sameFirstCentre = false;
    /// How far the multispectral and infrared content is displaced to the right and down, in multispectral
    /// pixels; it is moved back. Or that is measured, and moved back where the measurement can be relied on.
    hostkit::Point shift;
    bool measureShift = false;

    /// Depth of the samples within 16-bit files, 9 to 16; without it what the files declare, else the whole
    /// depth. No result is larger.
    std::optional<int> bitDepth;
    /// The values that are mapped to 1 and 65535 in all inputs, for any sample type; the output records scale
    /// and offset.
    std::optional<std::array<double, 2>> scale;
    bool findScale = false; ///< find these two in the inputs
    /// The value that means no data in all inputs, whatever they declare.
    std::optional<double> noData;
    bool ignoreNoData = false; ///< all samples are data
    /// When the scene was taken, such as 2017-08-13T15:48:30Z. Without it the file of pan is asked.
    std::string acquired;
    std::string product; ///< name of the product that the images were taken from; empty for none
    /// For files whose transparency band is known: the band by the file's name, 0 for none. In other files it
    /// is looked for in the pixels.
    std::map<std::string, int> transparency;

    /// Part of the scene in map units of pan (left, top, right, bottom), snapped to whole pan pixels; all of
    /// pan without it. Its pixels are those that the whole would have there.
    std::optional<std::array<double, 4>> part;
    /// Only the part of pan that lies on all the other images.
    bool onlyIntersection = false;
    /// A window of that part, in pixels from its corner; all of it without one. Need not have data.
    std::optional<hostkit::PixelRect> window;
};

/// Where weights come from when a request does not give them.
enum class WeightSource {
    Fit,  ///< fitted to the images, where the method weighs bands and no raw property sets a weight
    Equal ///< 1 / n each, the infrared band counted
};

/// How a pair is fused.
struct FusionRequest {
    std::string method; ///< a keyword in any letter case; empty for the one that the plug-in recommends
    /// Effective weights of the multispectral bands in the simulated pan, in their order; empty for those of
    /// `weightSource`.
    std::vector<double> weights;
    std::optional<double> infraredWeight;
    WeightSource weightSource = WeightSource::Fit;
    /// For a method that compares pan with its low-pass: the modulation transfer of the multispectral sensor
    /// at the Nyquist frequency of its pixels, 0.05 to 0.9, and the gains of each multispectral band. Fitted
    /// to the images where not given.
    std::optional<double> transfer;
    std::vector<BandGains> gains;
    /// The published transfer of the sensor: taken where that of the images cannot be measured.
    std::optional<double> publishedTransfer;
    /// Raw process properties, set last.
    std::vector<std::pair<std::string, std::string>> properties;
};

/// The file to write.
struct OutputRequest {
    std::string output;
    /// GDAL's short driver name; empty for what the ending of the output's name stands for.
    std::string format;
    std::vector<std::string> creationOptions;
    /// Further entries of the output's metadata.
    std::vector<std::pair<std::string, std::string>> metadata;
    bool overwrite = false;
    /// Further files that the caller reads or writes, each with what it is, such as "the settings": the
    /// output replaces none of them.
    std::vector<std::pair<std::string, std::string>> otherFiles;
    /// Samples of 8 bits, each band stretched from the 2nd to the 98th percentile of its own: to be looked
    /// at, not to be measured in.
    bool isPicture = false;
    bool alpha = false;      ///< writes a last band that marks where there is data
    bool hasPreview = false; ///< a picture is going to be made of the output, which takes memory, too
};

inline constexpr std::uint32_t mostPreviewPixels = 512; ///< across and down a panel of a picture

/// How a run works; none of this changes a pixel.
struct RunOptions {
    std::string plugin;           ///< path of the plug-in; empty for the installed one
    int threads = 0;              ///< 0 for one per processor
    std::uint32_t windowRows = 0; ///< 0 for a height chosen from the sizes
    /// Bytes that the run may take by its own estimate; 0 for all that the machine has.
    std::uint64_t mostMemory = 0;

    /// Called in order with the fraction done, 0 to 1, from one thread at a time. Returning false cancels.
    std::function<bool(double)> progress;
    /// Called for each warning as it is found.
    std::function<void(const std::string&)> warn;
};

/// What to fuse, how, and into which file.
struct SharpenRequest : PairRequest, FusionRequest, OutputRequest, RunOptions {};

} // namespace rasterhost
