#pragma once

#include "imagery/PairComparison.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

/// Measures the quality of a fused image, against the truth or against the pair that it was made from.
namespace rasterhost {

using imagery::PairIndices;
using imagery::SensorBlur;

/// The blur that the images of a pair are degraded with.
struct BlurOptions {
    SensorBlur blur; ///< of all multispectral bands, in order, then of the infrared band
};

/// The image to assess, and its reference if there is no pair.
struct AssessOptions {
    std::vector<InputBand> fused;
    std::vector<InputBand> reference; ///< with the same bands and pixels; either this or the pair is given
    std::optional<double> ratio;      ///< width of a coarse pixel over that of a fine one, for ERGAS
};

/// The pair, if one is given, is the one that the image was made from. Pan has the pixels of the image. The
/// multispectral image has its bands, perhaps with others; then `bands` lists those of the image, in its
/// order.
struct AssessRequest : PairRequest, BlurOptions, AssessOptions {};

struct AssessReport {
    std::uint32_t columns = 0, rows = 0, bands = 0; ///< of the fused image
    std::optional<double> ratio;
    std::optional<quality::ReferenceIndices> reference;
    std::vector<PairIndices> pair; ///< for the fused image, then for plain bilinear upsampling
    std::vector<std::string> warnings;
    double seconds = 0.0;
};

/// False, with the reasons in `status`, when the image cannot be assessed.
[[nodiscard]] bool Assess(const AssessRequest& request, AssessReport& report,
                          KOVA::Tessara::Fundament::Status& status);

/// Checks a blur for this many bands. False with an item.
[[nodiscard]] bool CheckBlur(const SensorBlur& blur, std::size_t bands,
                             KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
