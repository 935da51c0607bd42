#pragma once

#include "fundament/Status.h"
#include "rasterhost/fitting/SceneDetail.h"
#include "rasterhost/fitting/WeightFit.h"
#include "rasterhost/fusing/PreparedPair.h"
#include "rasterhost/fusing/ProcessSettings.h"
#include "rasterhost/fusing/SceneFindings.h"
#include "rasterhost/requests/Requests.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The host that ships with the plug-in: opens real rasters, serves them to the plug-in through the host
/// contract and writes what it fuses.
namespace rasterhost {

/// How an output marks pixels without data.
enum class NoDataBy {
    None, ///< there are no such pixels and no value is declared, or the file cannot tell
    Value,
    Mask,
    Alpha
};

/// What was done, for the closing line and for `--json`.
struct SharpenReport {
    std::string output;
    std::string format; ///< of the output, GDAL's short driver name; empty when none was found
    std::string method;
    std::string plugin;
    std::uint32_t columns = 0; ///< of the output
    std::uint32_t rows = 0;
    std::uint32_t bands = 0;
    std::uint32_t bitsPerSample = 0; ///< of the file's samples
    std::uint32_t bitDepth = 0;      ///< of the values in them
    hostkit::Resampling resampling = hostkit::Resampling::Cubic;
    double ratio = 0.0;     ///< multispectral pixel width over pan pixel width
    double ratioDown = 0.0; ///< likewise of their heights
    std::vector<double> effectiveWeights;
    std::optional<double> infraredWeight;
    std::optional<WeightFit> fit; ///< where the weights were fitted
    /// Blur and gains, for a method that compares pan with its low-pass.
    std::optional<DetailFit> detail;
    int threads = 0;
    std::uint32_t windowRows = 0;
    double seconds = 0.0;
    /// Samples at 0 and at the largest value, for each output band.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> samplesAtLimits;
    std::vector<std::array<double, 2>> stretches; ///< of a picture: what each band was stretched from
    std::uint64_t pixelsWithoutData = 0;
    NoDataBy noDataBy = NoDataBy::None;
    std::optional<std::uint32_t> noDataValue;
    std::vector<std::string> warnings;
    bool cancelled = false;
};

/// Fills in what is known before a pixel is fused.
void FillReport(const SharpenRequest& request, const PreparedPair& pair, const ProcessSettings& settings,
                const SceneFindings& found, SharpenReport& report);

/// Fuses one scene. The output appears under its final name only when it is complete; on failure nothing is
/// left behind and an existing file is untouched. Returns false with the reasons in `status`, the first
/// saying what to do. `used`, where it is not null, gets the pair that was fused, for what is to be done with
/// it after. What is `known`, where it is not null, is not looked for; the request has its shift, scale and
/// weights.
[[nodiscard]] bool Sharpen(const SharpenRequest& request, SharpenReport& report,
                           KOVA::Tessara::Fundament::Status& status, PreparedPair* used = nullptr,
                           const SceneFindings* known = nullptr);

} // namespace rasterhost
