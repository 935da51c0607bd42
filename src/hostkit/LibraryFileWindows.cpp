#include "fundament/Platform.h"
#include "fundament/Text.h"
#include "hostkit/LibraryFile.h"

#include <windows.h>

namespace hostkit::LibraryFile {

namespace {

std::string LastError() {
    const DWORD code = GetLastError();
    wchar_t text[512] = L"";
    constexpr DWORD how =
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const DWORD length = FormatMessageW(how, nullptr, code, 0, text, 512, nullptr);
    using namespace KOVA::Tessara::Fundament;
    if (length == 0) return FormatString("error %u", static_cast<unsigned>(code));
    std::string reason = Trim(Platform::FromPath(std::wstring(text, length)));
    ReplaceAll(reason, "%1", "the file", false, 1); // a placeholder that the system leaves in
    return reason;
}

// The file of a module, null for the program; empty when the system does not say.
std::filesystem::path ModuleFile(HMODULE module) {
    for (std::wstring name(MAX_PATH, L'\0'); name.size() <= 65536; name.resize(2 * name.size())) {
        const DWORD length = GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
        if (length < name.size()) return name.substr(0, length);
    }
    return {};
}

} // namespace

void* Open(const std::filesystem::path& path, std::string& reason) {
    std::filesystem::path file = path;
    file.make_preferred();
    if (!file.has_extension()) file += L"."; // else the system would add ".dll"
    DWORD before = 0;                        // no question on the screen
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before);
    const HMODULE handle = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!handle) reason = LastError();
    SetThreadErrorMode(before, nullptr);
    return handle;
}

void* Find(void* handle, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle), name));
}

void Close(void* handle) { FreeLibrary(static_cast<HMODULE>(handle)); }

std::filesystem::path ProgramFolder() { return ModuleFile(nullptr).parent_path(); }

std::filesystem::path LibraryFolder() {
    static const char somewhere = 0;
    HMODULE module = nullptr;
    constexpr DWORD how =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(how, reinterpret_cast<const wchar_t*>(&somewhere), &module)) return {};
    return module == GetModuleHandleW(nullptr) ? std::filesystem::path() : ModuleFile(module).parent_path();
}

} // namespace hostkit::LibraryFile
