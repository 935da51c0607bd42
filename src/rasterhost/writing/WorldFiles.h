#pragma once

#include "rasterhost/writing/WorkFolder.h"

#include <string>
#include <vector>

namespace rasterhost {

/// The file beside the output's place by which GDAL would move the finished output: a world file (.wld, .pgw,
/// .pngw and the like) or one of MapInfo (.tab), left by another image. Empty for none. Files named in `own`,
/// which the output brings itself, are left out. `trial` is a small image like the output among the spare
/// files of the folder, of `side` pixels across and down: it shows whether the format heeds such a file.
[[nodiscard]] std::string FindMovingFile(const std::string& trial, int side, const WorkFolder& folder,
                                         const std::vector<std::string>& own);

} // namespace rasterhost
