#pragma once

#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputPlan.h"
#include "rasterhost/writing/WorkFolder.h"

#include <string>
#include <vector>

namespace rasterhost {

/// The file beside the output's place by which GDAL would move the finished output: a world file (.wld, .pgw,
/// .pngw and the like) or one of MapInfo (.tab), left by another image. Empty for none. Files named in `own`,
/// which the output brings itself, are left out. Whether a format heeds such a file is found with a small
/// image, made among the spare files of the folder, which are removed.
[[nodiscard]] std::string FindMovingFile(const Scene& scene, const OutputPlan& plan, WorkFolder& folder,
                                         const std::vector<std::string>& own);

} // namespace rasterhost
