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

/// A new folder, which goes away with its content when the process that made it is done with it.
class Folder {
public:
    Folder() {
        const std::filesystem::path all = std::filesystem::temp_directory_path();
        for (int number = 0; owner.empty(); ++number) {
            path = all / ("pansharp-test-" + ProcessNumber() + "-" + std::to_string(number));
            if (std::filesystem::create_directory(path)) owner = ProcessNumber();
        }
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        if (owner == ProcessNumber()) std::filesystem::remove_all(path, ignored);
    }

    /// Full name of a file in it.
    [[nodiscard]] std::string operator/(const std::string& name) const { return (path / name).string(); }

    std::filesystem::path path;

private:
    std::string owner;
};

/// An empty file, the same each time in this process.
inline std::string ExistingFile() {
    static const Folder folder;
    std::ofstream{folder / "file"};
    return folder / "file";
}

} // namespace support
