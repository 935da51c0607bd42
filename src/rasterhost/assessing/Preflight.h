#pragma once

#include "rasterhost/fitting/Shift.h"
#include "rasterhost/fusing/Sharpen.h"
#include "rasterhost/scene/Role.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Whether a pair can be fused, and how: found from the descriptions and a sample of the pixels, in seconds
/// for any size.
namespace rasterhost {

/// Facts about one input. Shares are of the pixels in the sample.
struct ImageFacts {
    std::string name;
    std::uint32_t columns = 0, rows = 0, bands = 0;
    std::string sampleType;                      ///< "8 bits unsigned" and the like
    std::string projection;                      ///< name and code; empty without one
    std::optional<std::array<double, 4>> extent; ///< left, top, right, bottom in map units
    double pixelSizeX = 0.0, pixelSizeY = 0.0;   ///< map units; pan pixels without georeferencing
    std::uint64_t seen = 0;                      ///< pixels in the sample, those without data counted
    /// Largest sample seen, and the bits that it needs; none where no pixel with data was seen.
    std::optional<unsigned> largest;
    std::optional<std::uint32_t> bitDepth;
    std::vector<std::string> noData; ///< what counts as no data, in words; empty for nothing
    double withoutData = 0.0;        ///< share, 0 to 1
    double saturated = 0.0;          ///< likewise
};

/// Of an image beneath pan.
struct CoarseFacts : ImageFacts {
    Role role = Role::Multispectral;
};

struct PreflightReport {
    ImageFacts pan;
    /// The multispectral image, where its bands do not share one grid those of the largest pixels first, and
    /// the infrared one; empty where they could not be opened.
    std::vector<CoarseFacts> images;
    double ratioX = 0.0, ratioY = 0.0; ///< multispectral pixel over pan pixel
    double overlap = 0.0;              ///< share of pan on which the multispectral and infrared images lie
    /// The multispectral corner from that of pan, right and down, in pan pixels, and the part of it that is
    /// not a whole pixel, above -0.5 up to 0.5.
    std::array<double, 2> corner{}, phase{};
    std::optional<WeightFit> fit;
    std::optional<Shift> shift;

    std::string method; ///< that `Sharpen` would use, with what it would use and make
    std::vector<double> effectiveWeights;
    std::optional<double> infraredWeight;
    std::optional<DetailFit> detail; ///< for a method that compares pan with its low-pass
    std::uint32_t outputColumns = 0, outputRows = 0, outputBands = 0;
    std::uint64_t outputBytes = 0; ///< of its samples, not compressed
    std::uint64_t memoryBytes = 0; ///< about what the run would take

    std::vector<std::string> warnings; ///< the most serious first
    double seconds = 0.0;
};

/// Checks what `Sharpen` would be given, and whether an output, if one is named, can be written there. May be
/// cancelled by `progress` of the request. False with the reasons for which `Sharpen` would fail, in the same
/// words; the report then has what was found until then. Blur and gains that are `known`, which may be null,
/// are not looked for again.
[[nodiscard]] bool Preflight(const SharpenRequest& request, PreflightReport& report,
                             KOVA::Tessara::Fundament::Status& status, const SceneFindings* known = nullptr);

} // namespace rasterhost
