#pragma once

#include "rasterhost/scene/Scene.h"
#include "rasterhost/writing/OutputPlan.h"
#include "rasterhost/writing/WorkFolder.h"

#include <string>
#include <vector>

namespace rasterhost {

/// Creates a small image like the output among the spare files of a folder, reads it back and removes it.
/// Many formats tell only then whether they can hold it, and some drop parts of it silently. `names` gets the
/// names of its files; the plan gets the rows per block if they are unknown, and the losses. False with an
/// item.
[[nodiscard]] bool TryOutput(const SharpenRequest& request, const Scene& scene, OutputPlan& plan,
                             WorkFolder& folder, std::vector<std::string>& names, Status& status);

} // namespace rasterhost
