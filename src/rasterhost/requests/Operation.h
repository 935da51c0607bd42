#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <functional>

namespace rasterhost {

/// Runs what one call of this library is to do, with GDAL ready and silent on this thread. What is thrown
/// becomes an item, memory that does not suffice in words of its own. `seconds` is what it took.
[[nodiscard]] bool RunOperation(const std::function<bool()>& operation, double& seconds, Status& status);

} // namespace rasterhost
