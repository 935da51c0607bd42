#pragma once

#include "rasterhost/assessing/Assess.h"

/// Finds the best method for a scene. The pair is degraded by its own ratio and fused by every method; each
/// result is compared with the original multispectral image.
namespace rasterhost {

struct CompareOptions {
    std::optional<hostkit::Resampling> onlyResampling; ///< without it both; that of the pair is ignored
    /// Folder in which to keep the degraded pair and the truth, as pan.tif, ms.tif, truth.tif and
    /// infrared.tif; empty to keep nothing. Such files are replaced only with `replaceKept`.
    std::string keep;
    bool replaceKept = false;
};

/// Bands that are not selected, and an infrared band, still take part in the simulated pan.
struct CompareRequest : PairRequest, RunOptions, BlurOptions, CompareOptions {};

struct CompareEntry {
    std::string method;                  ///< a keyword; empty for plain upsampling
    std::optional<WeightSource> weights; ///< empty for a method that weighs no bands
    hostkit::Resampling resampling = hostkit::Resampling::Cubic;
    std::vector<double> effectiveWeights; ///< of all multispectral bands, in their order
    std::optional<double> infraredWeight;
    quality::ReferenceIndices indices; ///< of the bands that the method writes: the first ones, not always
                                       ///< all

    [[nodiscard]] bool IsPlain() const { return method.empty(); }
};

struct CompareReport {
    double ratioX = 0.0, ratioY = 0.0;   ///< multispectral pixel over pan pixel
    std::uint32_t columns = 0, rows = 0; ///< of the truth
    std::uint32_t windows = 0;           ///< number of windows of the scene that it consists of
    std::vector<CompareEntry> entries;   ///< plain upsampling first, then the methods in the plug-in's order
    std::size_t best = 0;                ///< entry with the lowest ERGAS among those with all bands
    std::uint32_t bands = 0;             ///< number of bands compared
    std::vector<std::string> warnings;
    double seconds = 0.0;
    bool cancelled = false;
};

/// False, with the reasons in `status`, when the methods cannot be compared.
[[nodiscard]] bool Compare(const CompareRequest& request, CompareReport& report,
                           KOVA::Tessara::Fundament::Status& status);

} // namespace rasterhost
