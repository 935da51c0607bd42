#pragma once

#include <string>

/// What files in the making are told apart by.
namespace rasterhost {

/// Of this machine; letters, digits, '-' and '.' only.
[[nodiscard]] std::string HostName();
[[nodiscard]] int OwnProcess();
/// False when no process of this machine has that number.
[[nodiscard]] bool IsRunning(int process);

} // namespace rasterhost
