#pragma once

#include "imagery/PairComparison.h"
#include "rasterhost/requests/HostStatus.h"
#include "rasterhost/requests/Requests.h"

/// How good a fused image is: against the truth, or against the pair that it was made of.
namespace rasterhost {

using imagery::PairIndices;
using imagery::SensorBlur;

/// What the images of a pair are degraded with.
struct BlurOptions {
    SensorBlur blur; ///< of all multispectral bands, in their order, that of an infrared band last
};

/// An image, and what it is to be assessed by if that is not a pair.
struct AssessOptions {
    std::vector<InputBand> fused;
    std::vector<InputBand> reference; ///< of the same bands and pixels; either this or the pair
    std::optional<double> ratio;      ///< coarse pixel's width over the fine one's, for ERGAS
};

/// The pair, where one is named, is the one that the image was made from: pan has the pixels of the image,
/// the multispectral image has its bands, or those and more: `bands` are then those of the image, in its
/// order.
struct AssessRequest : PairRequest, BlurOptions, AssessOptions {};

struct AssessReport {
    std::uint32_t columns = 0, rows = 0, bands = 0; ///< of the fused image
    std::optional<double> ratio;
    std::optional<quality::ReferenceIndices> reference;
    std::vector<PairIndices> pair; ///< the fused image, then plain bilinear upsampling
    std::vector<std::string> warnings;
    double seconds = 0.0;
};

/// False with the reasons in `status`.
[[nodiscard]] bool Assess(const AssessRequest& request, AssessReport& report,
                          KOVA::Tessara::Fundament::Status& status);

/// Checks a blur for this many bands. False with an item.
[[nodiscard]] bool CheckBlur(const SensorBlur& blur, std::size_t bands,
                             KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
