#pragma once

#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputPlan.h"
#include "rasterhost/writing/RunFiles.h"
#include "rasterhost/writing/WorkFolder.h"

#include <memory>
#include <string>

namespace rasterhost {

/// False with an item when a file cannot be made under that name: it is one of `files`, a folder or a device,
/// or exists. `what` begins the message, such as "the output 'x.tif'".
[[nodiscard]] bool CheckNewFile(const std::string& name, const std::string& what, bool overwrite,
                                RunFiles& files, Status& status);

/// The folder to make the output in. Null with an item when it cannot go where the request says: one of its
/// files exists or is used by this run, its folder is missing or has no room for it, or the format cannot
/// hold it. `plan` learns from a trial how large blocks of the format are.
[[nodiscard]] std::unique_ptr<WorkFolder> PrepareOutput(const SharpenRequest& request, const Scene& scene,
                                                        OutputPlan& plan, Status& status);

} // namespace rasterhost
