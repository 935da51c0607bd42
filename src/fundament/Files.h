#pragma once

#include <cstdint>
#include <string>

/// Files and folders. Paths are bytes, as the system takes them; on Windows they are UTF-8 or, where they are
/// not, text in the system's code page. One that holds a zero byte names nothing, and so does a name that
/// Windows keeps for a device, such as NUL. Nothing throws for what the file system does: each function
/// returns the value it states.
namespace KOVA::Tessara::Fundament {

/// What the process may do with a path: reach it at all, write, read, or both. False when there is none.
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

/// True when the file was last written after that moment; false for what cannot be read, is a folder, or when
/// there is no such moment.
[[nodiscard]] bool IsFileNewer(const std::string& path, const CalendarTime& time);

/// Bytes free for this user on the volume of the folder that the path stands in; all bits set when unknown.
[[nodiscard]] std::uint64_t GetDiskFreeBytes(const std::string& path);

/// The current working directory, or the empty text.
[[nodiscard]] std::string GetWorkingDirectory();

/// Creates each missing folder along the path. True when the folder is there at the end; a file in the way is
/// a failure.
bool CreateDirectories(const std::string& path);

/// A folder of the user or the system, always ending in a backslash; the empty text for a code not listed and
/// for a user without a home. 0 desktop, 5 documents, 39 pictures (as the desktop settings name them, else
/// the usual folders in the home); 26 settings and 28 data of the user; 35 data for all users; 38 programs;
/// 40 home. The folder need not exist. On Windows the system names them, and further ones by their codes
/// there.
[[nodiscard]] std::string GetSpecialFolder(int folder);

} // namespace KOVA::Tessara::Fundament
