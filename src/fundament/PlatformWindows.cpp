#include "fundament/Platform.h"

#include <atomic>
#include <io.h>
#include <memory>
#include <type_traits>
#include <windows.h>

namespace KOVA::Tessara::Fundament::Platform {

namespace {

// Empty when the bytes are not text in that code page.
std::optional<std::wstring> ToWide(const std::string& bytes, UINT codePage, DWORD flags) {
    constexpr std::size_t most = 1u << 30;
    if (bytes.empty() || bytes.size() > most) return std::wstring();
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (length == 0) return std::nullopt;
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(codePage, flags, bytes.data(), size, wide.data(), length);
    return wide;
}

// A name that the system reserves in every folder: NUL, CON, COM1, ...
bool IsDevice(const std::filesystem::path& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.starts_with(L"\\\\.\\");
}

bool HasMode(HANDLE handle) {
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0;
}

} // namespace

std::filesystem::path ToPath(const std::string& bytes) {
    if (auto wide = ToWide(bytes, CP_UTF8, MB_ERR_INVALID_CHARS)) return *wide;
    return ToWide(bytes, CP_ACP, 0).value_or(std::wstring());
}

std::string FromPath(const std::filesystem::path& path) {
    const std::wstring& wide = path.native();
    const int size = static_cast<int>(wide.size());
    const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, bytes.data(), length, nullptr, nullptr);
    return bytes;
}

std::string Environment(const char* name) {
    const std::filesystem::path wide = ToPath(name);
    const DWORD length = GetEnvironmentVariableW(wide.c_str(), nullptr, 0);
    if (length == 0) return {};
    std::wstring value(length, L'\0');
    value.resize(GetEnvironmentVariableW(wide.c_str(), value.data(), length));
    return FromPath(value);
}

bool CanAccess(const std::string& path, Access access) {
    if (path.find('\0') != std::string::npos) return false; // the system would read another name
    const std::filesystem::path wide = ToPath(path);
    return _waccess(wide.c_str(), static_cast<int>(access)) == 0 && !IsDevice(wide);
}

std::optional<std::chrono::sys_time<std::chrono::milliseconds>> LastWritten(const std::string& path) {
    using namespace std::chrono;
    if (!CanAccess(path, Access::Read)) return std::nullopt;
    const auto close = [](HANDLE handle) { CloseHandle(handle); };
    const HANDLE opened = CreateFileW(ToPath(path).c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    if (opened == INVALID_HANDLE_VALUE) return std::nullopt; // also for a folder
    const std::unique_ptr<std::remove_pointer_t<HANDLE>, decltype(close)> file(opened, close);
    FILETIME written{};
    if (!GetFileTime(opened, nullptr, nullptr, &written)) return std::nullopt;
    const auto ticks =
        static_cast<std::int64_t>(std::uint64_t{written.dwHighDateTime} << 32 | written.dwLowDateTime);
    using Ticks = duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr sys_days start = year(1601) / January / 1;
    return sys_time<milliseconds>(start) + ceil<milliseconds>(Ticks(ticks));
}

bool IsInteractive() {
    return HasMode(GetStdHandle(STD_INPUT_HANDLE)) && HasMode(GetStdHandle(STD_ERROR_HANDLE));
}

namespace {

// The only state that the handler of Ctrl+C and Ctrl+Break reads; it runs on a thread of the system.
std::atomic<bool> interrupted = false;

BOOL WINAPI NoteInterrupt(DWORD) {
    interrupted = true;
    return FALSE; // the next handler decides whether the process ends
}

std::optional<char> ReadByte() {
    char byte = 0;
    DWORD count = 0;
    const bool read = ReadFile(GetStdHandle(STD_INPUT_HANDLE), &byte, 1, &count, nullptr) != 0;
    return read && count == 1 ? std::optional(byte) : std::nullopt;
}

} // namespace

// Keys are read as events, which the modes of the console do not affect: only the handler must be restored.
KeyReader::KeyReader() : terminal(HasMode(GetStdHandle(STD_INPUT_HANDLE))) {
    if (!terminal) return;
    interrupted = false;
    SetConsoleCtrlHandler(NoteInterrupt, TRUE);
    FlushConsoleInputBuffer(GetStdHandle(STD_INPUT_HANDLE));
}

KeyReader::~KeyReader() {
    if (terminal) SetConsoleCtrlHandler(NoteInterrupt, FALSE);
}

std::optional<char> KeyReader::Next() {
    if (!terminal) return ReadByte();
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    constexpr wchar_t endOfFile = 0x1A;
    while (!interrupted) {
        if (WaitForSingleObject(input, 200) == WAIT_TIMEOUT) continue;
        INPUT_RECORD event{};
        DWORD count = 0;
        if (!ReadConsoleInputW(input, &event, 1, &count) || count != 1) return std::nullopt;
        if (event.EventType != KEY_EVENT || !event.Event.KeyEvent.bKeyDown) continue;
        const wchar_t key = event.Event.KeyEvent.uChar.UnicodeChar; // 0 for arrows and function keys
        if (key == endOfFile) return std::nullopt;
        if (key != 0 && key < 0x80) return static_cast<char>(key);
    }
    return std::nullopt;
}

} // namespace KOVA::Tessara::Fundament::Platform
