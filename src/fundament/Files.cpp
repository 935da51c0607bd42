#include "fundament/Files.h"

#include "fundament/Platform.h"

#include <chrono>
#include <filesystem>
#include <limits>
#include <optional>

namespace KOVA::Tessara::Fundament {

namespace fs = std::filesystem;

namespace {

std::optional<std::chrono::sys_time<std::chrono::milliseconds>> ToSystemTime(const CalendarTime& time) {
    using namespace std::chrono;
    const auto within = [](int value, int end) { return value >= 0 && value < end; };
    if (time.year < 1601 || time.year > 30827 || time.month < 0 || time.day < 0) return std::nullopt;
    const year_month_day date(year(time.year), month(static_cast<unsigned>(time.month)),
                              day(static_cast<unsigned>(time.day)));
    if (!date.ok() || !within(time.hours, 24) || !within(time.minutes, 60) || !within(time.seconds, 60) ||
        !within(time.thousandths, 1000))
        return std::nullopt;
    return sys_days(date) + hours(time.hours) + minutes(time.minutes) + seconds(time.seconds) +
           milliseconds(time.thousandths);
}

} // namespace

bool FileExists(const std::string& path) { return Platform::CanAccess(path, Platform::Access::Exists); }
bool IsWritable(const std::string& path) { return Platform::CanAccess(path, Platform::Access::Write); }
bool IsReadable(const std::string& path) { return Platform::CanAccess(path, Platform::Access::Read); }
bool IsReadWritable(const std::string& path) {
    return Platform::CanAccess(path, Platform::Access::ReadWrite);
}

bool IsFileNewer(const std::string& path, const CalendarTime& time) {
    // Compared in milliseconds, since nanoseconds do not reach every year that may be asked for.
    const auto moment = ToSystemTime(time);
    const auto written = Platform::LastWritten(path);
    return moment && written && *written > *moment;
}

std::uint64_t GetDiskFreeBytes(const std::string& path) {
    const fs::path parent = Platform::ToPath(path).parent_path();
    const fs::path folder = parent.empty() ? fs::path(".") : parent;
    std::error_code failure;
    const fs::space_info space = fs::space(folder, failure);
    // Some systems report the volume of a folder that does not exist.
    return failure || !fs::exists(folder, failure) ? std::numeric_limits<std::uint64_t>::max()
                                                   : space.available;
}

std::string GetWorkingDirectory() {
    std::error_code failure;
    const fs::path folder = fs::current_path(failure);
    return failure ? std::string() : Platform::FromPath(folder);
}

bool CreateDirectories(const std::string& path) {
    if (path.find('\0') != std::string::npos) return false;
    const fs::path folder = Platform::ToPath(path);
    std::error_code failure;
    fs::create_directories(folder, failure);
    return fs::is_directory(folder, failure);
}

} // namespace KOVA::Tessara::Fundament
