#pragma once

#include <cstdint>
#include <string>

/// Files and folders. Paths are bytes, as the system takes them. On Windows they are UTF-8 or, if they are
/// not valid UTF-8, text in the system's code page. A path with a zero byte names nothing, and so does a name
/// that Windows reserves for a device, such as NUL. Failures of the file system do not throw: each function
/// returns the value it states.
namespace KOVA::Tessara::Fundament {

/// Whether the process may access an existing path at all, write it, read it, or both. False when the path
/// does not exist.
[[nodiscard]] bool FileExists(const std::string& path);
[[nodiscard]] bool IsWritable(const std::string& path);
[[nodiscard]] bool IsReadable(const std::string& path);
[[nodiscard]] bool IsReadWritable(const std::string& path);

/// A moment in coordinated universal time.
struct CalendarTime {
    int year = 1970;
    int month = 1; // 1 to 12
    int day = 1;
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int thousandths = 0;
};

/// True when the file was last written after that moment. False for a folder, for what cannot be read, and
/// for a moment that does not exist.
[[nodiscard]] bool IsFileNewer(const std::string& path, const CalendarTime& time);

/// Free bytes for this user on the volume of the path's folder; all bits set when unknown.
[[nodiscard]] std::uint64_t GetDiskFreeBytes(const std::string& path);

/// The current working directory, or an empty text on failure.
[[nodiscard]] std::string GetWorkingDirectory();

/// Creates each missing folder along the path. True when the folder exists at the end; false when a file is
/// in the way.
bool CreateDirectories(const std::string& path);

/// A folder of the user or the system, always ending in a backslash. An empty text for an unknown code and
/// for a user without a home. Codes: 0 desktop, 5 documents, 39 pictures (as the desktop settings name them,
/// else the usual folders in the home); 26 settings and 28 data of the user; 35 data for all users; 38
/// programs; 40 home. The folder need not exist. On Windows the system names these folders, and more by its
/// own codes.
[[nodiscard]] std::string GetSpecialFolder(int folder);

} // namespace KOVA::Tessara::Fundament
