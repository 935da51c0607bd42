#pragma once

#include <cstdint>
#include <functional>
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
/// How many of `used` threads a run can have, its own included. If they are fewer, `warn` is told how many of
/// `asked`. To be called before a thread pool starts: if a pool cannot start a thread in the middle of the
/// work, the process ends.
[[nodiscard]] int LimitThreads(int used, int asked, const std::function<void(const std::string&)>& warn);
/// Bytes of memory of this machine; 0 when unknown.
[[nodiscard]] std::uint64_t MachineMemory();

} // namespace rasterhost
