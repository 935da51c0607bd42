#pragma once

#include "hostkit/SampledRaster.h"
#include "rasterhost/InputImage.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace rasterhost {

using Warn = std::function<void(const std::string&)>;

/// The images of a run, checked against each other.
struct Scene {
    std::unique_ptr<InputImage> pan;
    /// Bands to write first, in the order wanted. Where they do not share one grid: those on the grid of the
    /// largest pixels, which stands for all where one grid is looked at.
    std::unique_ptr<InputImage> multispectral;
    std::vector<std::unique_ptr<InputImage>> otherGrids; ///< the other multispectral bands
    /// For `multispectral` and each of `otherGrids` where their bands stand among all, in ascending order.
    std::vector<std::vector<std::size_t>> gridBands;
    std::unique_ptr<InputImage> infrared; ///< one band; null without one
    hostkit::PixelRect part;              ///< the pan pixels to fuse
    hostkit::PixelRect covered;           ///< those of them that have multispectral and infrared data
    SampleOptions sampleOptions;
    hostkit::Resampling resampling = hostkit::Resampling::Bilinear;
    std::uint32_t bitDepth = 0; ///< of the results
    /// For every multispectral band its position in the request, counted from 0.
    std::vector<std::size_t> bandOrder;
    std::uint32_t outputBands = 0;

    /// The images of the multispectral bands, `multispectral` first.
    [[nodiscard]] std::vector<InputImage*> GetGrids() const;
    /// Those and the infrared band.
    [[nodiscard]] std::vector<InputImage*> GetCoarseImages() const;
    /// The multispectral band at a place among all.
    [[nodiscard]] const SourceBand& GetBand(std::size_t position) const;
    /// False when every pixel of the part is known to have data in all images.
    [[nodiscard]] bool MayLackData() const;
    /// Leaves out all bands but the first ones in the order wanted.
    void KeepFirstBands(std::uint32_t count);
};

/// Opens pan, multispectral bands and the infrared band and finds how they lie on each other. Null with an
/// item that names the file and says what to do.
[[nodiscard]] std::unique_ptr<Scene> OpenScene(const PairRequest& request, const Warn& warn, Status& status);

} // namespace rasterhost
