#pragma once

#include "hostkit/RasterBase.h"

namespace hostkit {

/// A raster over samples that the caller owns. Rows are handed out uncopied. Until a window is set it is all
/// that the block covers; windows must lie within that.
class ArrayRaster final : public RasterBase {
public:
    /// `description` is that of the whole image, of which the block may cover a part.
    ArrayRaster(const RasterInfo& description, const SampleBlock& block);

    /// Takes other samples of the same image; the window becomes all that they cover.
    void SetBlock(const SampleBlock& block);

    /// The samples of the row where they lie; null, with an item, outside the window.
    const unsigned char* GetRow(std::uint32_t row) override;

private:
    SampleBlock samples;
};

} // namespace hostkit
