#pragma once

#include "rasterhost/requests/HostStatus.h"

#include <functional>

namespace rasterhost {

/// Registers GDAL's drivers, unless the program has registered some. That is then the program's choice, and
/// more drivers would affect all of it.
void RegisterDrivers();

/// Runs an operation. An exception becomes an item; lack of memory has a message of its own.
[[nodiscard]] bool Guard(const std::function<bool()>& operation, Status& status);

/// Runs one call of this library: guarded, with GDAL initialized and silent on this thread. `seconds` gets
/// the time that it took.
[[nodiscard]] bool RunOperation(const std::function<bool()>& operation, double& seconds, Status& status);

/// The same for other callables, which are not copied: a copy would allocate memory outside the guard.
template <class Operation>
[[nodiscard]] bool Guard(const Operation& operation, Status& status) {
    return Guard(std::function<bool()>(std::cref(operation)), status);
}
template <class Operation>
[[nodiscard]] bool RunOperation(const Operation& operation, double& seconds, Status& status) {
    return RunOperation(std::function<bool()>(std::cref(operation)), seconds, status);
}

} // namespace rasterhost
