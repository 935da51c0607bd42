#pragma once

#include <cstdint>
#include <string>

/// This process and its machine: names that distinguish unfinished files, and the amount of memory.
namespace rasterhost {

/// The name of this machine, with letters, digits, '-' and '.' only.
[[nodiscard]] std::string HostName();
[[nodiscard]] int OwnProcess();
/// False when no process of this machine has this number.
[[nodiscard]] bool IsRunning(int process);
/// How many threads can be started in addition to the running ones, at most `wanted`. They are started to
/// find out, and have ended when it returns.
[[nodiscard]] int CountThreadsToBeHad(int wanted);
/// Bytes of memory of this machine; 0 when unknown.
[[nodiscard]] std::uint64_t MachineMemory();

} // namespace rasterhost
