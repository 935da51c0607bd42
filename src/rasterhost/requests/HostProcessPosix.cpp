#include "rasterhost/requests/HostProcess.h"

#include "fundament/Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace rasterhost {

using KOVA::Tessara::Fundament::FormatString;

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

int CountThreadsToBeHad(int wanted) {
    std::vector<pid_t> numbers(static_cast<std::size_t>(std::max(wanted, 0)));
    std::vector<std::jthread> threads;
    std::promise<void> end; // destroyed first, whatever happens, which ends the threads
    const std::shared_future<void> isOver(end.get_future());
    try {
        for (pid_t& number : numbers)
            threads.emplace_back([&number, isOver] {
                number = gettid();
                isOver.wait();
            });
    } catch (const std::system_error&) {
        // the limit is reached
    }
    end.set_value();
    const std::size_t count = threads.size();
    threads.clear();
    // For a moment the system still counts a thread that has been joined.
    constexpr int mostLooks = 1000;
    for (std::size_t i = 0, looks = 0; i < count && looks < mostLooks; ++i) {
        const std::string task = "/proc/self/task/" + std::to_string(numbers[i]);
        for (; access(task.c_str(), F_OK) == 0 && looks < mostLooks; ++looks)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return static_cast<int>(count);
}

int LimitThreads(int used, int asked, const std::function<void(const std::string&)>& warn) {
    const int most = 1 + CountThreadsToBeHad(used - 1);
    if (most >= used) return used;
    warn(FormatString("only %d of %d threads are used: this machine or user cannot start more", most, asked));
    return most;
}

std::uint64_t MachineMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES), bytes = sysconf(_SC_PAGESIZE);
    return pages > 0 && bytes > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(bytes) : 0;
}

} // namespace rasterhost
