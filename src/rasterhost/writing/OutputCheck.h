#pragma once

#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputRow.h"
#include "rasterhost/writing/RunFiles.h"
#include "rasterhost/writing/WorkFolder.h"

#include <memory>
#include <string>

namespace rasterhost {

/// How the file is going to tell where there are no data: by the nodata value of the request or of the first
/// input that has one, by a last band where the request says so, else by a mask.
[[nodiscard]] OutputRules MakeOutputRules(const SharpenRequest& request, const Scene& scene);

/// True for a format that GDAL makes only as a copy of a finished image, such as COG, PNG or JPEG 2000.
[[nodiscard]] bool IsMadeByCopy(const std::string& format);

/// False with an item when a file cannot be made under that name: it is one of `files`, a folder or a device,
/// or exists. `what` begins the message, such as "the output 'x.tif'".
[[nodiscard]] bool CheckNewFile(const std::string& name, const std::string& what, bool overwrite,
                                RunFiles& files, Status& status);

/// The folder to make the output in. Null with an item when it cannot go where the request says: one of its
/// files exists or is used by this run, its folder is missing or has no room for it, or the format cannot
/// hold it.
[[nodiscard]] std::unique_ptr<WorkFolder> PrepareOutput(const SharpenRequest& request, const Scene& scene,
                                                        const OutputRules& rules, Status& status);

} // namespace rasterhost
