#pragma once

#include "rasterhost/fitting/Shift.h"
#include "rasterhost/fusing/Sharpen.h"
#include "rasterhost/scene/Role.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Tells whether a pair can be fused, and how, from the descriptions and a sample of the pixels. Takes
/// seconds for images of any size.
namespace rasterhost {

/// Facts about one input. Shares are of the pixels in the sample.
struct ImageFacts {
    std::string name;
    std::uint32_t columns = 0, rows = 0, bands = 0;
    std::string sampleType;                      ///< "8 bits unsigned" and the like
    std::string projection;                      ///< name and code; empty without one
    std::optional<std::array<double, 4>> extent; ///< left, top, right, bottom in map units
    double pixelSizeX = 0.0, pixelSizeY = 0.0;   ///< in map units; without georeferencing in pan pixels
    std::uint64_t seen = 0;                      ///< pixels in the sample, including those without data
    /// The largest sample seen, and the bits that it needs; empty when no pixel with data was seen.
    std::optional<unsigned> largest;
    std::optional<std::uint32_t> bitDepth;
    std::vector<std::string> noData; ///< what counts as no data, in words; empty when nothing does
    double withoutData = 0.0;        ///< share, 0 to 1
    double saturated = 0.0;          ///< share, 0 to 1
};

/// Facts about an image under pan.
struct CoarseFacts : ImageFacts {
    Role role = Role::Multispectral;
};

struct PreflightReport {
    ImageFacts pan;
    /// The multispectral images, then the infrared one. If the bands lie on several grids, that of the
    /// largest pixels comes first. Empty when they could not be opened.
    std::vector<CoarseFacts> images;
    double ratioX = 0.0, ratioY = 0.0; ///< size of a multispectral pixel in pan pixels
    double overlap = 0.0;              ///< share of pan that the multispectral and infrared images cover
    /// How far the multispectral corner lies to the right of and below pan's, in pan pixels; and the part of
    /// it that is less than a whole pixel, above -0.5 up to 0.5.
    std::array<double, 2> corner{}, phase{};
    std::optional<WeightFit> fit;
    std::optional<Shift> shift;

    std::string method; ///< the one that `Sharpen` would use; the next members: with what, and the result
    std::vector<double> effectiveWeights;
    std::optional<double> infraredWeight;
    std::optional<DetailFit> detail; ///< for a method that compares pan with its low-pass
    std::uint32_t outputColumns = 0, outputRows = 0, outputBands = 0;
    std::uint64_t outputBytes = 0; ///< size of the output's samples, not compressed
    std::uint64_t memoryBytes = 0; ///< estimated memory of the run

    std::vector<std::string> warnings; ///< the most serious first
    double seconds = 0.0;
};

/// Checks the request for `Sharpen`, and whether its output, if one is named, can be written. `progress` of
/// the request may cancel. False with the reasons for which `Sharpen` would fail, in the same words; the
/// report then has what was found until then. Blur and gains in `known`, which may be null, are not fitted
/// again.
[[nodiscard]] bool Preflight(const SharpenRequest& request, PreflightReport& report,
                             KOVA::Tessara::Fundament::Status& status, const SceneFindings* known = nullptr);

} // namespace rasterhost
