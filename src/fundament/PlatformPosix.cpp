#include "fundament/Platform.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace KOVA::Tessara::Fundament::Platform {

bool CanAccess(const std::string& path, Access access) {
    if (path.find('\0') != std::string::npos) return false; // the system would read another name
    const int mode = access == Access::Exists  ? F_OK
                     : access == Access::Write ? W_OK
                     : access == Access::Read  ? R_OK
                                               : R_OK | W_OK;
    return faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

std::filesystem::path ToPath(const std::string& bytes) { return bytes; }
std::string FromPath(const std::filesystem::path& path) { return path.string(); }

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::optional<std::chrono::sys_time<std::chrono::milliseconds>> LastWritten(const std::string& path) {
    std::error_code failure;
    if (!CanAccess(path, Access::Read) || std::filesystem::is_directory(path, failure)) return std::nullopt;
    const auto written = std::filesystem::last_write_time(path, failure);
    if (failure) return std::nullopt;
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::file_clock::to_sys(written));
}

bool IsInteractive() { return isatty(STDIN_FILENO) && isatty(STDERR_FILENO); }

namespace {

// The only state that signal handlers read.
constexpr int guardedSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP, SIGPIPE, SIGABRT, SIGSEGV};
constexpr int guardedCount = sizeof guardedSignals / sizeof *guardedSignals;
termios terminalBefore;
struct sigaction actionsBefore[guardedCount];
volatile std::sig_atomic_t caught = 0;

void PutBackActions() {
    for (int i = 0; i < guardedCount; ++i)
        sigaction(guardedSignals[i], &actionsBefore[i], nullptr);
}

extern "C" void PutBackTerminal(int signal) {
    const int error = errno;
    tcsetattr(STDIN_FILENO, TCSANOW, &terminalBefore);
    PutBackActions();
    caught = signal;
    raise(signal); // blocked until this handler returns; then the process's own action handles it
    errno = error;
}

// Handlers are installed first, so no signal can leave the terminal changed.
void TakeTerminal() {
    caught = 0;
    struct sigaction guard {};
    guard.sa_handler = PutBackTerminal;
    sigfillset(&guard.sa_mask);
    for (int i = 0; i < guardedCount; ++i) {
        sigaction(guardedSignals[i], nullptr, &actionsBefore[i]);
        if (actionsBefore[i].sa_handler != SIG_IGN) sigaction(guardedSignals[i], &guard, nullptr);
    }
    termios keys = terminalBefore;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 1;
    keys.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &keys);
}

bool InputWithin(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, milliseconds) > 0;
}

std::optional<char> ReadByte() {
    char byte = 0;
    return read(STDIN_FILENO, &byte, 1) == 1 ? std::optional(byte) : std::nullopt;
}

} // namespace

KeyReader::KeyReader() : terminal(isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &terminalBefore) == 0) {
    if (terminal) TakeTerminal();
}

KeyReader::~KeyReader() {
    if (!terminal || caught) return;
    tcsetattr(STDIN_FILENO, TCSADRAIN, &terminalBefore);
    PutBackActions();
}

std::optional<char> KeyReader::Next() {
    if (!terminal) return ReadByte();
    for (;;) {
        // Waits are short: a signal may come just before one, or on another thread.
        while (!caught && !InputWithin(200)) {
        }
        if (caught && caught != SIGTSTP) return std::nullopt;
        if (caught) {
            TakeTerminal(); // after a stop and continue
            continue;
        }
        const auto key = ReadByte();
        if (!key || *key == static_cast<char>(terminalBefore.c_cc[VEOF])) return std::nullopt;
        if (*key != '\x1B') return key;
        while (InputWithin(25)) // the rest of the escape sequence contains letters
            if (!ReadByte()) return std::nullopt;
    }
}

} // namespace KOVA::Tessara::Fundament::Platform
