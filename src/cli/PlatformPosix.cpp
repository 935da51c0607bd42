#include "cli/Platform.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <spawn.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cli::platform {

namespace {

constexpr int requestsToStop[] = {SIGINT, SIGTERM, SIGHUP}; // SIGHUP: the terminal is gone

// Set on whichever thread takes the signal.
std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void NoteInterrupt(int) {
    interrupted = true;
    for (const int signal : requestsToStop)
        std::signal(signal, SIG_DFL);
}

} // namespace

void SetEnvironment(const char* name, const char* value) { setenv(name, value, 1); }

bool ErrorsGoToTerminal() { return isatty(STDERR_FILENO) == 1; }

std::size_t TerminalColumns() {
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::uint64_t PeakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

FileLock::FileLock(const std::string& file)
    : handle(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)),
      isTaken(handle >= 0 && flock(handle, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {}

FileLock::~FileLock() {
    if (handle >= 0) close(handle);
}

bool OpenInBrowser(const std::string& address) {
    std::string program = "xdg-open", argument = address;
    char* const arguments[] = {program.data(), argument.data(), nullptr};
    pid_t child = 0;
    // The opener passes the address on and ends.
    int outcome = 0;
    return posix_spawnp(&child, program.c_str(), nullptr, nullptr, arguments, environ) == 0 &&
           waitpid(child, &outcome, 0) == child && WIFEXITED(outcome) && WEXITSTATUS(outcome) == 0;
}

void CatchInterrupts() {
    // A file that may not grow, and a reader that has gone, are reported as errors of writing.
    for (const int signal : {SIGXFSZ, SIGPIPE})
        std::signal(signal, SIG_IGN);
    for (const int signal : requestsToStop) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler == SIG_IGN) continue; // as under nohup
        action.sa_handler = NoteInterrupt;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}

bool WasInterrupted() { return interrupted; }

} // namespace cli::platform
