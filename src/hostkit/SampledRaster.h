#pragma once

#include "hostkit/AxisPlacement.h"
#include "hostkit/SampledValidity.h"

#include <vector>

namespace hostkit {

/// Brings a source image whose axes are parallel to pan's onto a window of the pan grid. It interpolates
/// between pixel centres and replicates the edges. Samples without data take no part; pixels out of reach of
/// data are undefined (SampledValidity.h). In ascending order, every source row is interpolated across once.
class SampledRaster final : public PlacedWindow {
public:
    SampledRaster();

    /// Opens a window of the pan grid over source samples, which must cover the placement's FindSource() and
    /// outlive the raster. `sourceInfo` describes the whole source image. False, with an item, when they do
    /// not cover it or the depth is neither 8 nor 16 bits.
    [[nodiscard]] bool Open(const AxisPlacement& placement, const PixelRect& panWindow,
                            const RasterInfo& sourceInfo, const SampleBlock& source, Resampling resampling);

    /// Computes a row of the window. Null, with an item, outside it. Valid until the next call.
    const unsigned char* GetRow(std::uint32_t row) override;
    const Reach* FindReach(std::uint32_t row) override;

private:
    SampleBlock samples;
    std::unique_ptr<RowSampler> sampler;
    std::unique_ptr<SampledValidity> validity; ///< null when all source samples have data
    std::vector<unsigned short> output;        ///< read as bytes when the depth is 8 bits
};

} // namespace hostkit
