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
    std::unique_ptr<InputImage> multispectral; ///< bands to write first, in the order wanted
    std::unique_ptr<InputImage> infrared;      ///< one band; null without one
    hostkit::PixelRect part;                   ///< the pan pixels to fuse
    hostkit::PixelRect covered;                ///< those of them that have multispectral and infrared data
    SampleOptions sampleOptions;
    hostkit::Resampling resampling = hostkit::Resampling::Bilinear;
    std::uint32_t bitDepth = 0; ///< of the results
    /// For every band of `multispectral` its position in the request, counted from 0.
    std::vector<std::size_t> bandOrder;
    std::uint32_t outputBands = 0;

    /// False when every pixel of the part is known to have data in all images.
    [[nodiscard]] bool MayLackData() const;
    /// Leaves out all bands but the first ones in the order wanted.
    void KeepFirstBands(std::uint32_t count);
};

/// Opens pan, multispectral bands and the infrared band and finds how they lie on each other. Null with an
/// item that names the file and says what to do.
[[nodiscard]] std::unique_ptr<Scene> OpenScene(const SharpenRequest& request, const Warn& warn,
                                               Status& status);

} // namespace rasterhost
