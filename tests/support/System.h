#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#if defined(_WIN32)
#include <process.h>
#else
#include <unistd.h>
#endif

/// What tests need from the operating system.
namespace support {

#if defined(_WIN32)
inline constexpr bool isWindows = true;
inline std::string ProcessNumber() { return std::to_string(_getpid()); }
/// Null removes the variable.
inline void SetVariable(const char* name, const char* value) { _putenv_s(name, value ? value : ""); }
struct OrdinaryUser {
    [[nodiscard]] bool IsBack() const { return true; }
};
#else
inline constexpr bool isWindows = false;
inline std::string ProcessNumber() { return std::to_string(getpid()); }
inline void SetVariable(const char* name, const char* value) {
    static_cast<void>(value ? setenv(name, value, 1) : unsetenv(name));
}
/// Makes this an ordinary user until IsBack is called, since nothing is read-only for root.
struct OrdinaryUser {
    [[nodiscard]] bool IsBack() const { return !root || seteuid(0) == 0; }
    const bool root = geteuid() == 0 && seteuid(65534) == 0;
};
#endif

/// An empty file, the same each time in this process.
inline std::string ExistingFile() {
    static const std::string name =
        (std::filesystem::temp_directory_path() / ("pansharp-asked-" + ProcessNumber())).string();
    std::ofstream{name};
    return name;
}

} // namespace support
