#pragma once

#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputPlan.h"
#include "rasterhost/writing/WorkFolder.h"

#include <string>
#include <vector>

namespace rasterhost {

/// Makes a small image in the way of the output, among the spare files of a folder, which are removed
/// afterwards. Many formats say only then whether they can hold it. `names` gets those of the files that it
/// consists of, the plan the rows of blocks where it does not know them. False with an item.
[[nodiscard]] bool TryOutput(const SharpenRequest& request, const Scene& scene, OutputPlan& plan,
                             WorkFolder& folder, std::vector<std::string>& names, Status& status);

} // namespace rasterhost
