#pragma once

#include "quality/Comparison.h"
#include "rasterhost/fusing/Sharpen.h"

/// How good a fused image is: against the truth, or against the pair that it was made of.
namespace rasterhost {

/// Gaussian blur of the sensors: the modulation transfer at the Nyquist frequency of the pixels that they are
/// to have, above 0 and below 1.
struct SensorBlur {
    std::vector<double> multispectral = {0.3}; ///< a band, or one for all
    double pan = 0.15;
};

struct AssessRequest {
    std::vector<InputBand> fused;
    std::vector<InputBand> reference;     ///< of the same bands and pixels; either this or the pair
    std::optional<double> ratio;          ///< coarse pixel's width over the fine one's, for ERGAS
    std::optional<InputBand> pan;         ///< of the same pixels as the fused image
    std::vector<InputBand> multispectral; ///< of the same bands, or of more
    std::vector<int> bands;       ///< which of these the fused image has, in its order, from 1; empty for all
    SensorBlur blur;              ///< of all multispectral bands, in their order
    std::optional<double> noData; ///< the value that means no data in all images, whatever they declare
    bool ignoreNoData = false;    ///< all samples are data
};

/// An image beside the pair that it was made of.
struct PairIndices {
    std::string name;                      ///< "fused" or "bilinear"
    quality::ReferenceIndices consistency; ///< degraded, against the multispectral image
    std::uint64_t pixels = 0;              ///< of pan, at which it was compared with pan
    double spectralDistortion = 0.0;       ///< D_lambda
    double spatialDistortion = 0.0;        ///< D_S
    double qnr = 0.0;
    double spectralDistortionOfBlur = 0.0; ///< D_lambda of Khan: 1 - Q2n of the consistency
    double hqnr = 0.0;
};

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

/// Checks a blur for so many bands. False with an item.
[[nodiscard]] bool CheckBlur(const SensorBlur& blur, std::size_t bands,
                             KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
