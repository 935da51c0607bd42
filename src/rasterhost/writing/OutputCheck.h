#pragma once

#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputPlan.h"
#include "rasterhost/writing/RunFiles.h"
#include "rasterhost/writing/WorkFolder.h"

#include <memory>
#include <string>

namespace rasterhost {

/// Checks that a file can be created under a name. False, with an item, when it is one of `files`, a folder
/// or a device, or when it exists and `overwrite` is not set. `what` begins the message, such as "the output
/// 'x.tif'".
[[nodiscard]] bool CheckNewFile(const std::string& name, const std::string& what, bool overwrite,
                                RunFiles& files, Status& status);

/// The folder to make the output in. Null, with an item, when the output cannot be written as requested: one
/// of its files exists or is used by this run, its folder is missing or has too little space, or the format
/// cannot hold it. `plan` gets the size of the format's blocks from a trial.
[[nodiscard]] std::unique_ptr<WorkFolder> PrepareOutput(const SharpenRequest& request, const Scene& scene,
                                                        OutputPlan& plan, Status& status);

} // namespace rasterhost
