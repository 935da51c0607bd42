#include "hostkit/Coarsening.h"

#include "hostkit/RequestRecord.h"

namespace hostkit {

using KOVA::Tessara::Pixmere::RasterInfo;

RasterInfo CoarseInfo(const RasterInfo& image, const PixelRect& part, unsigned level) {
    RasterInfo info = WindowInfo(image, part);
    info.cols = CoarseCount(info.cols, level);
    info.rows = CoarseCount(info.rows, level);
    info.pixelSizeX *= static_cast<double>(1u << level);
    info.pixelSizeY *= static_cast<double>(1u << level);
    info.xMax = info.xMin + info.cols * info.pixelSizeX;
    info.yMin = info.yMax - info.rows * info.pixelSizeY;
    return info;
}

} // namespace hostkit
