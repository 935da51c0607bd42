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

/// The host that comes with the plug-in: it opens real rasters, serves them to the plug-in through the host
/// contract, and writes the fused result.
namespace rasterhost {

/// How an output marks pixels without data.
enum class NoDataBy {
    None, ///< no such pixels and no declared value, or the file cannot mark them
    Value,
    Mask,
    Alpha
};

/// The result of a run, for the closing line and for `--json`.
struct SharpenReport {
    std::string output;
    std::string format; ///< GDAL's short driver name; empty when none was found
    std::string method;
    std::string plugin;
    std::uint32_t columns = 0; ///< of the output
    std::uint32_t rows = 0;
    std::uint32_t bands = 0;
    std::uint32_t bitsPerSample = 0; ///< of the file's samples
    std::uint32_t bitDepth = 0;      ///< bits that the values use
    hostkit::Resampling resampling = hostkit::Resampling::Cubic;
    double ratio = 0.0;     ///< width of a multispectral pixel in pan pixels
    double ratioDown = 0.0; ///< the same for the height
    std::vector<double> effectiveWeights;
    std::optional<double> infraredWeight;
    std::optional<WeightFit> fit; ///< if the weights were fitted
    /// Blur and gains, for a method that compares pan with its low-pass.
    std::optional<DetailFit> detail;
    int threads = 0;
    std::uint32_t windowRows = 0;
    double seconds = 0.0;
    /// Per output band: the number of samples at 0 and at the largest value.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> samplesAtLimits;
    std::vector<std::array<double, 2>> stretches; ///< of a picture: per band, the range that was stretched
    std::uint64_t pixelsWithoutData = 0;
    NoDataBy noDataBy = NoDataBy::None;
    std::optional<std::uint32_t> noDataValue;
    std::vector<std::string> warnings;
    bool cancelled = false;
};

/// Fills in what is known before any pixel is fused.
void FillReport(const SharpenRequest& request, const PreparedPair& pair, const ProcessSettings& settings,
                const SceneFindings& found, SharpenReport& report);

/// Fuses one scene. The output gets its final name only when it is complete; on failure nothing is left
/// behind and an existing file stays unchanged. False with the reasons in `status`; the first says what to
/// do. `used`, if not null, gets the pair that was fused, for later use. What is in `known`, if not null, is
/// not searched again; the request then has its shift, scale and weights.
[[nodiscard]] bool Sharpen(const SharpenRequest& request, SharpenReport& report,
                           KOVA::Tessara::Fundament::Status& status, PreparedPair* used = nullptr,
                           const SceneFindings* known = nullptr);

} // namespace rasterhost
