#pragma once

#include <chrono>
#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace support {

/// Sets the modification time of a file, in steps of 100 ns. On Windows the standard library sets only whole
/// seconds.
inline void SetWritten(const std::filesystem::path& file,
                       std::chrono::sys_time<std::chrono::nanoseconds> time) {
#if defined(_WIN32)
    constexpr long long from1601 = 116'444'736'000'000'000;
    ULARGE_INTEGER ticks{};
    ticks.QuadPart = static_cast<ULONGLONG>(time.time_since_epoch().count() / 100 + from1601);
    const FILETIME written{ticks.LowPart, ticks.HighPart};
    const HANDLE opened = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    SetFileTime(opened, nullptr, nullptr, &written);
    CloseHandle(opened);
#else
    std::filesystem::last_write_time(file, std::chrono::file_clock::from_sys(time));
#endif
}

} // namespace support
