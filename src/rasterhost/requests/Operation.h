#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <functional>

namespace rasterhost {

/// Registers GDAL's drivers, unless the program has registered some. Those are its choice, and further
/// drivers would affect all of it.
void RegisterDrivers();

/// Runs an operation. An exception becomes an item, too little memory with a message of its own.
[[nodiscard]] bool Guard(const std::function<bool()>& operation, Status& status);

/// Runs the work of one call of this library, guarded, with GDAL ready and silent on this thread. `seconds`
/// gets the time.
[[nodiscard]] bool RunOperation(const std::function<bool()>& operation, double& seconds, Status& status);

/// The same for what else can be called, which is not copied: that would take memory before there is a guard.
template <class Operation>
[[nodiscard]] bool Guard(const Operation& operation, Status& status) {
    return Guard(std::function<bool()>(std::cref(operation)), status);
}
template <class Operation>
[[nodiscard]] bool RunOperation(const Operation& operation, double& seconds, Status& status) {
    return RunOperation(std::function<bool()>(std::cref(operation)), seconds, status);
}

} // namespace rasterhost
