#pragma once

#include "hostkit/RasterBase.h"
#include "rasterhost/InputImage.h"

#include <vector>

namespace rasterhost {

/// A raster over the bands of an open image, with a buffer of its own. A window is read at once when it is
/// set and rows are handed out of the buffer; setting the same window again reads nothing, so that a process
/// may do so on a thread of its own. Several rasters may share an image as long as one reads at a time.
class GdalRaster final : public hostkit::RasterBase {
public:
    /// The image outlives the raster.
    explicit GdalRaster(const InputImage& source);

    const unsigned char* GetRow(std::uint32_t row) override;

    /// The samples of the window and which of its pixels have data, good until another is set.
    [[nodiscard]] hostkit::SampleBlock GetBlock() const;

private:
    bool OpenWindow(const hostkit::PixelRect& wanted) override;
    bool FindGaps(const hostkit::PixelRect& wanted);

    const InputImage& image;
    std::vector<unsigned char> buffer;
    std::vector<unsigned char> valid;
    bool hasGaps = false;  ///< `valid` says that some pixel of the window has no data
    bool isLoaded = false; ///< the buffer holds `window`
};

} // namespace rasterhost
