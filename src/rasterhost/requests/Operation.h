#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <functional>

namespace rasterhost {

/// Registers GDAL's drivers, unless the program has some: those are its choice, and more than it asked for
/// would come to all of it.
void RegisterDrivers();

/// Runs an operation. What it throws becomes an item, memory that does not suffice in words of its own.
[[nodiscard]] bool Guard(const std::function<bool()>& operation, Status& status);

/// Runs what one call of this library is to do, guarded, with GDAL ready and silent on this thread. `seconds`
/// is what it took.
[[nodiscard]] bool RunOperation(const std::function<bool()>& operation, double& seconds, Status& status);

} // namespace rasterhost
