#pragma once

#include "hostkit/ImageSource.h"
#include "hostkit/RasterBase.h"

#include <vector>

namespace hostkit {

/// A raster over an image that is read, with a buffer of its own. A window is read at once when it is set and
/// rows are handed out of the buffer; setting the same window again, or one within what was read last, reads
/// nothing, so that a process may do so on a thread of its own. Several rasters may share an image as long as
/// one reads at a time.
class SourceRaster final : public RasterBase {
public:
    /// The image outlives the raster.
    explicit SourceRaster(ImageSource& source);

    /// A row of the window; null, with an item, outside it. Good until another window is set.
    const unsigned char* GetRow(std::uint32_t row) override;

    /// The samples that were read and which of the pixels have data, good until others are read.
    [[nodiscard]] SampleBlock GetBlock() const;

private:
    bool OpenWindow(const PixelRect& wanted) override;
    bool FindGaps(const PixelRect& wanted);

    ImageSource& image;
    std::vector<unsigned char> buffer;
    std::vector<unsigned char> valid;
    bool hasGaps = false; ///< `valid` says that some pixel of the window has no data
    PixelRect loaded;     ///< what the buffer holds; empty for nothing
};

} // namespace hostkit
