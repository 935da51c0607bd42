#pragma once

#include "rasterhost/OutputRow.h"
#include "rasterhost/Scene.h"

#include <string>

namespace rasterhost {

/// How the file is going to tell where there are no data: by the nodata value of the request or of the first
/// input that has one, by a last band where the request says so, else by a mask.
[[nodiscard]] OutputRules MakeOutputRules(const SharpenRequest& request, const Scene& scene);

/// True for a format that GDAL makes only as a copy of a finished image, such as COG, PNG or JPEG 2000.
[[nodiscard]] bool IsMadeByCopy(const std::string& format);

/// False with an item when the output cannot go where the request says: it exists, is an input, its folder is
/// missing or has no room for it, or the format cannot hold it.
[[nodiscard]] bool CheckOutput(const SharpenRequest& request, const Scene& scene, const OutputRules& rules,
                               Status& status);

} // namespace rasterhost
