#pragma once

#include <cstdint>
#include <string>

/// This process and its machine: the names that keep unfinished files apart, and how much memory there is.
namespace rasterhost {

/// Of this machine; letters, digits, '-' and '.' only.
[[nodiscard]] std::string HostName();
[[nodiscard]] int OwnProcess();
/// False when no process of this machine has that number.
[[nodiscard]] bool IsRunning(int process);
/// How many threads can be started in addition to those that run, `wanted` at most. They are started to find
/// out, and have ended when it returns.
[[nodiscard]] int CountThreadsToBeHad(int wanted);
/// Bytes of memory that this machine has; 0 when that cannot be found out.
[[nodiscard]] std::uint64_t MachineMemory();

} // namespace rasterhost
