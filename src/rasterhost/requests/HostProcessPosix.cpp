#include "rasterhost/requests/HostProcess.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <future>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace rasterhost {

std::string HostName() {
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    std::string text(name.data());
    for (char& letter : text)
        if (!std::isalnum(static_cast<unsigned char>(letter)) && letter != '.') letter = '-';
    return text.empty() ? "host" : text;
}

int OwnProcess() { return getpid(); }

bool IsRunning(int process) { return kill(process, 0) == 0 || errno != ESRCH; }

namespace {

/// The number of threads of this process according to the system, perhaps including some already joined. 0
/// when unknown.
std::size_t CountOwnThreads() {
    std::error_code failure;
    std::size_t count = 0;
    for (std::filesystem::directory_iterator entries("/proc/self/task", failure);
         !failure && entries != std::filesystem::directory_iterator(); entries.increment(failure))
        ++count;
    return failure ? 0 : count;
}

} // namespace

int CountThreadsToBeHad(int wanted) {
    const std::size_t before = CountOwnThreads();
    std::vector<std::thread> threads;
    std::promise<void> end;
    const std::shared_future<void> isOver(end.get_future());
    try {
        while (static_cast<int>(threads.size()) < wanted)
            threads.emplace_back([isOver] { isOver.wait(); });
    } catch (const std::system_error&) {
        // the limit is reached
    }
    end.set_value();
    for (std::thread& thread : threads)
        thread.join();
    constexpr int mostLooks = 1000;
    for (int look = 0; look < mostLooks && CountOwnThreads() > before; ++look)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return static_cast<int>(threads.size());
}

std::uint64_t MachineMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES), bytes = sysconf(_SC_PAGESIZE);
    return pages > 0 && bytes > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(bytes) : 0;
}

} // namespace rasterhost
