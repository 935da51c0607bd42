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

} // namespace rasterhost
