#pragma once

#include "hostkit/RasterBase.h"

namespace hostkit {

/// A raster over samples that the caller owns. Rows are handed out without a copy. Until a window is set, the
/// window is all that the block covers; later windows must lie within that.
class ArrayRaster final : public RasterBase {
public:
    /// `description` describes the whole image; the block may cover a part of it. The samples must outlive
    /// the raster and every row taken from it.
    ArrayRaster(const RasterInfo& description, const SampleBlock& block);

    /// Replaces the samples by others of the same image. The window becomes all that they cover.
    void SetBlock(const SampleBlock& block);

    /// The samples of a row, in the caller's memory. Null, with an item, outside the window.
    const unsigned char* GetRow(std::uint32_t row) override;

private:
    SampleBlock samples;
};

} // namespace hostkit
