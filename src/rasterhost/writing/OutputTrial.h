#pragma once

#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputPlan.h"
#include "rasterhost/writing/WorkFolder.h"

#include <string>
#include <vector>

namespace rasterhost {

/// Makes a small image as the output is going to be made, among the spare files of a folder, which are
/// cleared afterwards: many formats know only then whether they can hold it. `names` gets those of the files
/// that it consists of, the plan the rows of blocks where it does not know them. False with an item.
[[nodiscard]] bool TryOutput(const SharpenRequest& request, const Scene& scene, OutputPlan& plan,
                             WorkFolder& folder, std::vector<std::string>& names, Status& status);

} // namespace rasterhost
