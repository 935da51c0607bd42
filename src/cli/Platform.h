#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// What the command needs of the system that it runs on. One file per platform.
namespace cli::platform {

/// For this process and what it loads from now on.
void SetEnvironment(const char* name, const char* value);

[[nodiscard]] bool ErrorsGoToTerminal();
/// Columns of the terminal that standard error is; 80 when it does not say.
[[nodiscard]] std::size_t TerminalColumns();

/// The most memory that this process has had in use so far, in bytes.
[[nodiscard]] std::uint64_t PeakMemory();

/// Keeps a file, made if it is not there, from every other process that locks it, until it is destroyed or
/// the process ends. Where the file system knows no locks it keeps nothing.
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

/// Asks the desktop to show an address. False when nothing there does.
[[nodiscard]] bool OpenInBrowser(const std::string& address);

/// From here on the first request to stop (SIGINT, SIGTERM, SIGHUP) is only noted; a second one stops the
/// process.
void CatchInterrupts();
[[nodiscard]] bool WasInterrupted();

} // namespace cli::platform
