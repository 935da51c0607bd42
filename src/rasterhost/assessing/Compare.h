#pragma once

#include "rasterhost/assessing/Assess.h"

/// Finds the method for a scene: the pair is degraded by its own ratio and fused by every method, and each
/// result is compared with the multispectral image that it was degraded from.
namespace rasterhost {

struct CompareOptions {
    std::optional<hostkit::Resampling> onlyResampling; ///< without it both; that of the pair is not looked at
    /// Folder in which the degraded pair and the truth are kept as pan.tif, ms.tif, truth.tif and
    /// infrared.tif, replacing such files only with `replaceKept`; empty for nowhere.
    std::string keep;
    bool replaceKept = false;
};

/// Bands that are not asked for, and an infrared band, take part in the simulated pan.
struct CompareRequest : PairRequest, RunOptions, BlurOptions, CompareOptions {};

struct CompareEntry {
    std::string method;                  ///< a keyword; empty for plain upsampling
    std::optional<WeightSource> weights; ///< none for a method that weighs no bands
    hostkit::Resampling resampling = hostkit::Resampling::Cubic;
    std::vector<double> effectiveWeights; ///< of all multispectral bands, in their order
    std::optional<double> infraredWeight;
    quality::ReferenceIndices indices; ///< of the bands that the method writes: the first, at times not all

    [[nodiscard]] bool IsPlain() const { return method.empty(); }
};

struct CompareReport {
    double ratioX = 0.0, ratioY = 0.0;   ///< multispectral pixel over pan pixel
    std::uint32_t columns = 0, rows = 0; ///< of the truth
    std::uint32_t windows = 0;           ///< of the scene that it is made of
    std::vector<CompareEntry> entries;   ///< plain upsampling first, then the plug-in's methods in its order
    std::size_t best = 0;                ///< entry with the lowest ERGAS, of those with all bands
    std::uint32_t bands = 0;             ///< that are compared
    std::vector<std::string> warnings;
    double seconds = 0.0;
    bool cancelled = false;
};

/// False with the reasons in `status`.
[[nodiscard]] bool Compare(const CompareRequest& request, CompareReport& report,
                           KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
