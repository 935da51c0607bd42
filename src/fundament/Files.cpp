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
    const auto moment = ToSystemTime(time);
    std::error_code failure;
    if (!moment || !IsReadable(path) || fs::is_directory(path, failure)) return false;
    const fs::file_time_type written = fs::last_write_time(path, failure);
    if (failure) return false;
    // Rounded up, since nanoseconds do not reach every year that can be asked for.
    const auto exact = std::chrono::file_clock::to_sys(written);
    return std::chrono::ceil<std::chrono::milliseconds>(exact) > *moment;
}

std::uint64_t GetDiskFreeBytes(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    std::error_code failure;
    const fs::space_info space = fs::space(folder.empty() ? fs::path(".") : folder, failure);
    return failure ? std::numeric_limits<std::uint64_t>::max() : space.available;
}

std::string GetWorkingDirectory() {
    std::error_code failure;
    const fs::path folder = fs::current_path(failure);
    return failure ? std::string() : folder.string();
}

bool CreateDirectories(const std::string& path) {
    if (path.find('\0') != std::string::npos) return false;
    std::error_code failure;
    fs::create_directories(path, failure);
    return fs::is_directory(path, failure);
}

} // namespace KOVA::Tessara::Fundament
