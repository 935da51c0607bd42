#include "rasterhost/HostProcess.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <unistd.h>

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

std::uint64_t MachineMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES), bytes = sysconf(_SC_PAGESIZE);
    return pages > 0 && bytes > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(bytes) : 0;
}

} // namespace rasterhost
