#pragma once

#include "hostkit/RasterBase.h"

#include <memory>
#include <vector>

namespace hostkit {

/// Several rasters over one window of the pan grid as one: each gives some of the bands, in the order that
/// they are given.
class JoinedRaster final : public RasterBase {
public:
    /// A raster that gives some of the bands.
    struct Part {
        std::shared_ptr<RasterBase> raster; ///< windowed already
        std::vector<std::size_t> bands;     ///< where its bands stand among all, counted from 0
    };

    /// Rows and columns of the parts are the same, and so are their depths; together they give every band
    /// once. There is at least one.
    explicit JoinedRaster(std::vector<Part> sources);

    const unsigned char* GetRow(std::uint32_t row) override;

private:
    std::vector<Part> parts;
    std::vector<unsigned short> output; ///< read as bytes when the depth is 8 bits
};

} // namespace hostkit
