#include "hostkit/Coarsening.h"

#include "hostkit/RequestRecord.h"

namespace hostkit {

using KOVA::Tessara::Pixmere::RasterInfo;

RasterInfo CoarseInfo(const RasterInfo& image, const PixelRect& part, unsigned level) {
    RasterInfo info = WindowInfo(image, part);
    info.cols = ((info.cols - 1) >> level) + 1;
    info.rows = ((info.rows - 1) >> level) + 1;
    info.pixelSizeX *= static_cast<double>(1u << level);
    info.pixelSizeY *= static_cast<double>(1u << level);
    info.xMax = info.xMin + info.cols * info.pixelSizeX;
    info.yMin = info.yMax - info.rows * info.pixelSizeY;
    return info;
}

} // namespace hostkit
