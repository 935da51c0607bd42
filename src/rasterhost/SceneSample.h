#pragma once

#include "rasterhost/AreaSums.h"
#include "rasterhost/Scene.h"

#include <cstdint>
#include <optional>
#include <vector>

/// What stands for a whole scene where looking at all of it takes too long: blocks of multispectral pixels on
/// a regular grid, the same for the same images whatever else a run is asked for.
namespace rasterhost {

/// How many blocks, and how large.
struct SamplePlan {
    std::uint32_t blocksAcross = 8; ///< and down, at most
    std::uint32_t side = 64;        ///< of a block, in multispectral pixels, at most
};

/// Blocks of multispectral pixels, row by row, that do not overlap and are spread evenly over those whose
/// footprint lies wholly on pan. They cover them all in a small scene. None when there are none, or when
/// a multispectral pixel is more than 1024 pan pixels wide or high.
[[nodiscard]] std::vector<hostkit::PixelRect> ChooseBlocks(const Scene& scene, const SamplePlan& plan);

/// What was seen of one image.
struct ImageTally {
    std::uint64_t pixels = 0;
    std::uint64_t withoutData = 0;
    std::uint64_t saturated = 0; ///< with a sample at the largest value or above
    unsigned largest = 0;        ///< sample with data
};

struct SceneTally {
    ImageTally pan, multispectral, infrared;
    std::vector<ImageTally> otherGrids;
};

/// Where the pixels of the multispectral grid lie along an axis of another image, in its pixels.
struct GridMap {
    double origin = 0.0;
    double step = 1.0;

    /// Of an edge between multispectral pixels. Positions within 1e-6 of a whole number are that number:
    /// georeferencing carries such noise.
    [[nodiscard]] double At(double edge) const;
};

/// Where the pixels of a block of the multispectral grid lie on another image.
struct Footprint {
    GridMap across, down;
    bool isTurned = false; ///< the two do not run along each other
    /// Then: how far one pixel down is right, and one to the right down.
    double acrossOfRow = 0.0, downOfColumn = 0.0;

    /// The mean of an image over a rectangle of multispectral pixels: exact where the two run along each
    /// other, else of regular points in it. None where any of it is not usable.
    [[nodiscard]] std::optional<double> Mean(const AreaSums& sums, double left, double top, double right,
                                             double bottom) const;
    /// The pixels of an image of some size beneath a rectangle.
    [[nodiscard]] hostkit::PixelRect Beneath(double left, double top, double right, double bottom,
                                             const KOVA::Tessara::Pixmere::RasterInfo& image) const;
};

/// One block, its bands as numbers and pan beneath it.
class BlockSample {
public:
    /// Reads a block, with pan up to `margin` multispectral pixels around it where there is pan. Samples at
    /// 2^bitDepth - 1 and above are saturated; without a depth that of each image counts. False with an item.
    [[nodiscard]] bool Read(const Scene& scene, const hostkit::PixelRect& block, double margin,
                            std::optional<int> bitDepth, Status& status);

    [[nodiscard]] std::size_t GetCount() const { return usable.size(); }
    [[nodiscard]] std::size_t GetBands() const { return bands; } ///< the infrared one counted
    /// True when a pixel has data in all bands and none is saturated.
    [[nodiscard]] bool IsUsable(std::size_t pixel) const { return usable[pixel] != 0; }
    /// The samples of a pixel, the infrared band last. Those of bands on other grids are means over the
    /// pixel.
    [[nodiscard]] const double* GetSamples(std::size_t pixel) const { return samples.data() + pixel * bands; }
    /// Pan's mean over the footprint of a pixel moved right and down by so many multispectral pixels and
    /// grown by `grow` of them on all sides. None where it is not wholly on usable pan.
    [[nodiscard]] std::optional<double> GetPan(std::size_t pixel, double right, double down,
                                               double grow = 0.0) const;
    [[nodiscard]] const SceneTally& GetTally() const { return tally; }

private:
    bool ReadBands(const Scene& scene, std::optional<int> bitDepth, Status& status);
    bool AddOther(const Scene& scene, InputImage& other, const std::vector<std::size_t>& places,
                  std::optional<int> bitDepth, ImageTally& seen, Status& status);

    hostkit::PixelRect rect;
    std::size_t bands = 0;
    std::vector<double> samples;
    std::vector<unsigned char> usable;
    Footprint onPan;
    AreaSums pan;
    SceneTally tally;
};

} // namespace rasterhost
