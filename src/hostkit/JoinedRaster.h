#pragma once

#include "hostkit/RasterBase.h"

#include <memory>
#include <vector>

namespace hostkit {

/// Several rasters over one window of the pan grid, seen as one. Each gives some of the bands.
class JoinedRaster final : public RasterBase {
public:
    /// A raster that gives some of the bands.
    struct Part {
        std::shared_ptr<RasterBase> raster; ///< with its window set
        std::vector<std::size_t> bands;     ///< the positions of its bands among all bands, counted from 0
    };

    /// At least one part. All have the same rows, columns and depth, and together they give every band once.
    explicit JoinedRaster(std::vector<Part> sources);

    const unsigned char* GetRow(std::uint32_t row) override;

private:
    std::vector<Part> parts;
    std::vector<unsigned short> output; ///< read as bytes when the depth is 8 bits
};

} // namespace hostkit
