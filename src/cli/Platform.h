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

/// Asks the desktop to show an address. False when nothing there does.
[[nodiscard]] bool OpenInBrowser(const std::string& address);

/// From here on the first request to stop (SIGINT, SIGTERM, SIGHUP) is only noted; a second one stops the
/// process.
void CatchInterrupts();
[[nodiscard]] bool WasInterrupted();

} // namespace cli::platform
