#include "hostkit/Placement.h"

namespace hostkit {

Placement::RasterInfo Placement::Describe(const RasterInfo& samples) const {
    RasterInfo described = samples;
    described.xMin = image.xMin;
    described.xMax = image.xMax;
    described.yMin = image.yMin;
    described.yMax = image.yMax;
    described.pixelSizeX = image.pixelSizeX;
    described.pixelSizeY = image.pixelSizeY;
    return described;
}

} // namespace hostkit
