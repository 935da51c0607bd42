#pragma once

#include "fundament/Status.h"
#include "rasterhost/WeightFit.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The host that ships with the plug-in: opens real rasters, serves them to the plug-in through the host
/// contract and writes what it fuses.
namespace rasterhost {

/// One input image: a file name as GDAL takes it, and a band of it counted from 1 or, without one, all its
/// bands.
struct InputBand {
    std::string file;
    std::optional<int> band;
};

/// Where weights come from that a request does not give.
enum class WeightSource {
    Fit,  ///< fitted to the images, where the method weighs bands and no raw property sets a weight
    Equal ///< 1 / n each, the infrared band counted
};

/// What to fuse and how. Defaults are those of the command.
struct SharpenRequest {
    InputBand pan;
    std::vector<InputBand> multispectral; ///< bands in the order given
    std::optional<InputBand> infrared;
    std::string output;
    std::string format = "GTiff"; ///< GDAL's short driver name
    std::vector<std::string> creationOptions;
    bool overwrite = false;

    std::string method = "KOVA";
    /// Effective weights of the multispectral bands in the simulated pan, in their order; empty for those of
    /// `weightSource`.
    std::vector<double> weights;
    std::optional<double> infraredWeight;
    WeightSource weightSource = WeightSource::Fit;
    /// Multispectral bands to write, counted from 1, in order; empty for all.
    std::vector<int> bands;
    /// Raw process properties, set last.
    std::vector<std::pair<std::string, std::string>> properties;

    /// "bilinear", or "cubic": convolution with a = -0.5, clamped at the edges.
    std::string resampling = "bilinear";
    /// Part of the scene in map units of pan (left, top, right, bottom), snapped to whole pan pixels; all of
    /// pan without it. Its pixels are those that the whole would have there.
    std::optional<std::array<double, 4>> part;
    /// Only the part of pan that lies on all the other images.
    bool onlyIntersection = false;
    /// All images have the corner and extent of pan, whatever their georeferencing says.
    bool sameCorner = false;
    /// How far the multispectral and infrared content lies right of and below its place, in multispectral
    /// pixels; it is moved back. Or that is measured, and moved back where the measurement can be relied on.
    std::array<double, 2> shift{};
    bool measureShift = false;
    /// Depth of the samples within 16-bit files, 9 to 16; without it what the files declare, else the whole
    /// depth. No result is larger.
    std::optional<int> bitDepth;

    /// The least and greatest value, which are mapped to 1 and 65535 in all inputs, of whatever type; the
    /// output records how to get back.
    std::optional<std::array<double, 2>> scale;
    /// The value that means no data in all inputs, whatever they declare.
    std::optional<double> noData;
    bool ignoreNoData = false; ///< all samples are data
    bool alpha = false;        ///< writes a last band that tells where there is data

    std::string plugin;           ///< path of the plug-in; empty for the installed one
    int threads = 0;              ///< 0 for one a processor
    std::uint32_t windowRows = 0; ///< 0 for a height chosen from the sizes
    /// Bytes that the run may take by its own estimate; 0 for all that the machine has.
    std::uint64_t mostMemory = 0;

    /// Called in order with the fraction done, 0 to 1, from one thread at a time. Returning false cancels.
    std::function<bool(double)> progress;
    /// Called for each warning as it is found.
    std::function<void(const std::string&)> warn;
};

/// What was done, for the closing line and for `--json`.
struct SharpenReport {
    std::string output;
    std::string method;
    std::string plugin;
    std::uint32_t columns = 0; ///< of the output
    std::uint32_t rows = 0;
    std::uint32_t bands = 0;
    std::uint32_t bitsPerSample = 0; ///< of the file's samples
    std::uint32_t bitDepth = 0;      ///< of the values in them
    std::string resampling;
    double ratio = 0.0; ///< multispectral pixel width over pan pixel width
    std::vector<double> effectiveWeights;
    std::optional<double> infraredWeight;
    std::optional<WeightFit> fit; ///< where the weights were fitted
    int threads = 0;
    std::uint32_t windowRows = 0;
    double seconds = 0.0;
    /// Samples at 0 and at the largest value, for each output band.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> samplesAtLimits;
    std::uint64_t pixelsWithoutData = 0;
    /// How the output tells where they are: "value", "mask", "alpha", or "none" when there are none and no
    /// value is declared.
    std::string noDataBy;
    std::optional<std::uint32_t> noDataValue;
    std::vector<std::string> warnings;
    bool cancelled = false;
};

/// Fuses one scene. The output appears under its final name only when it is complete; on failure nothing is
/// left behind and an existing file is untouched. Returns false with the reasons in `status`, the first
/// saying what to do.
[[nodiscard]] bool Sharpen(const SharpenRequest& request, SharpenReport& report,
                           KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
