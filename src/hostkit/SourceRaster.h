#pragma once

#include "fundament/LargeBytes.h"
#include "hostkit/ImageSource.h"
#include "hostkit/RasterBase.h"

#include <vector>

namespace hostkit {

/// A raster over an image that is read into a buffer. Setting a window reads it at once; rows are handed out
/// of the buffer. Setting the same window again, or one within what was read last, reads nothing, so a
/// process may do so on a thread of its own. Several rasters may share an image if only one reads at a time.
class SourceRaster final : public RasterBase {
public:
    /// The image outlives the raster.
    explicit SourceRaster(ImageSource& source);
    ~SourceRaster() override; ///< not inline: see LargeBytes

    /// A row of the window. Null, with an item, outside it. Valid until another window is set.
    const unsigned char* GetRow(std::uint32_t row) override;

    /// The samples that were read, with their mask. Valid until the next read.
    [[nodiscard]] SampleBlock GetBlock() const;

private:
    bool OpenWindow(const PixelRect& wanted) override;
    bool FindGaps(const PixelRect& wanted);

    ImageSource& image;
    KOVA::Tessara::Fundament::LargeBytes buffer, valid;
    bool hasGaps = false; ///< whether `valid` marks a pixel without data
    PixelRect loaded;     ///< what the buffer holds; empty when it holds nothing
};

} // namespace hostkit
