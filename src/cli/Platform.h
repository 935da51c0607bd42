#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// What the command needs from the operating system. One file per platform.
namespace cli::platform {

/// Sets a variable for this process and everything that it loads later.
void SetEnvironment(const char* name, const char* value);

[[nodiscard]] bool ErrorsGoToTerminal();
/// Width of the terminal at standard error, in columns; 80 if unknown.
[[nodiscard]] std::size_t TerminalColumns();

/// The peak memory of this process so far, in bytes.
[[nodiscard]] std::uint64_t PeakMemory();

/// Locks a file against other processes that lock it, until this is destroyed or the process ends. Creates
/// the file if needed. Does nothing where the file system has no locks.
class FileLock {
public:
    explicit FileLock(const std::string& file);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();
    [[nodiscard]] bool IsTaken() const { return isTaken; } ///< by another process

private:
    int handle;
    bool isTaken;
};

/// Asks the desktop to open an address. False when that is not possible.
[[nodiscard]] bool OpenInBrowser(const std::string& address);

/// From now on the first request to stop (SIGINT, SIGTERM, SIGHUP) is only recorded; the second one stops the
/// process.
void CatchInterrupts();
[[nodiscard]] bool WasInterrupted();

} // namespace cli::platform
