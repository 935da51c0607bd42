#pragma once

#include "fitting/FitBlock.h"
#include "rasterhost/reading/ReadAhead.h"
#include "rasterhost/scene/Scene.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

/// Samples a scene for measurements for which reading all of it would take too long: blocks of multispectral
/// pixels on a regular grid. They depend only on the images, not on what else a run is asked for.
namespace rasterhost {

using fitting::AreaSums;
using fitting::Footprint;
using SurveyPlan = fitting::BlockPlan;

/// Blocks of multispectral pixels, row by row, spread evenly without overlap over those whose footprint lies
/// completely on pan. In a small scene they cover all of these. Empty when there are none, or when a
/// multispectral pixel is more than 1024 pan pixels wide or high.
[[nodiscard]] std::vector<hostkit::PixelRect> ChooseBlocks(const Scene& scene, const SurveyPlan& plan);

/// Asks `ahead` to fetch what SurveyBlock::Read reads with these arguments.
void AskForBlock(const Scene& scene, const hostkit::PixelRect& block, double margin, ReadAhead& ahead,
                 std::uint64_t step);

/// The multispectral pixels whose footprint lies completely on pan; all of them if a map lies between the
/// two. May be empty.
[[nodiscard]] hostkit::PixelRect FindAreaOnPan(const Scene& scene);

/// Counts of one image.
struct ImageTally {
    std::uint64_t pixels = 0;
    std::uint64_t withoutData = 0;
    std::uint64_t saturated = 0; ///< pixels with a sample at the largest value or above
    unsigned largest = 0;        ///< largest sample with data
};

struct SceneTally {
    ImageTally pan;
    std::vector<ImageTally> images; ///< one per image of the scene
};

/// False, with an item, once `isWanted` returns false.
[[nodiscard]] bool CheckWanted(const std::function<bool()>& isWanted, Status& status);

/// All samples of a part of an image, with a mask of the pixels that have data and are not saturated.
struct SurveyedPixels {
    std::vector<unsigned short> samples; ///< interleaved by pixel
    std::vector<unsigned char> usable;   ///< one byte per pixel, 0 for not usable
    ImageTally tally;
};

/// Reads a part of an image; the part is not empty. Samples at 2^bitDepth - 1 and above are saturated;
/// without `bitDepth` the image's own depth is used. False with an item.
[[nodiscard]] bool ReadPixels(InputImage& image, const hostkit::PixelRect& rect, std::optional<int> bitDepth,
                              SurveyedPixels& pixels, Status& status);

/// One block: its bands as numbers, and pan under it.
class SurveyBlock {
public:
    /// Reads only the bands of a block; GetPan is then always empty. Otherwise like Read.
    [[nodiscard]] bool ReadBands(const Scene& scene, const hostkit::PixelRect& block,
                                 std::optional<int> bitDepth, Status& status);
    /// Reads a block, with pan up to `margin` multispectral pixels around it as far as pan extends. Samples
    /// at 2^bitDepth - 1 and above are saturated; without `bitDepth` each image's own depth is used. False
    /// with an item.
    [[nodiscard]] bool Read(const Scene& scene, const hostkit::PixelRect& block, double margin,
                            std::optional<int> bitDepth, Status& status);

    [[nodiscard]] std::size_t GetCount() const { return usable.size(); }
    [[nodiscard]] std::size_t GetBands() const { return bands; } ///< including the infrared one
    /// True when a pixel has data in all bands and no sample is saturated.
    [[nodiscard]] bool IsUsable(std::size_t pixel) const { return usable[pixel] != 0; }
    /// The samples of a pixel, the infrared band last. Samples of bands on other grids are means over the
    /// pixel.
    [[nodiscard]] const double* GetSamples(std::size_t pixel) const { return samples.data() + pixel * bands; }
    /// Pan's mean over the footprint of a pixel, moved right and down by these multispectral pixels and
    /// extended by `grow` on all sides. Empty when it does not lie completely on usable pan.
    [[nodiscard]] std::optional<double> GetPan(std::size_t pixel, double right, double down,
                                               double grow = 0.0) const;
    [[nodiscard]] const SceneTally& GetTally() const { return tally; }
    /// Where the pixels of the block lie on pan.
    [[nodiscard]] const Footprint& GetFootprint() const { return onPan; }

private:
    bool ReadFirst(const Scene& scene, std::optional<int> bitDepth, Status& status);
    bool AddOther(const Scene& scene, const PlacedImage& other, std::optional<int> bitDepth, ImageTally& seen,
                  Status& status);

    hostkit::PixelRect rect;
    std::size_t bands = 0;
    std::vector<double> samples;
    std::vector<unsigned char> usable;
    Footprint onPan;
    AreaSums pan;
    SceneTally tally;
};

} // namespace rasterhost
