#include "fundament/Files.h"
#include "fundament/Platform.h"
#include "fundament/Text.h"

#include <cstring>
#include <memory>
#include <type_traits>
#include <windows.h>

namespace KOVA::Tessara::Fundament {

std::string GetSpecialFolder(int folder) {
    using GetFolderPath = HRESULT(WINAPI*)(HWND, int, HANDLE, DWORD, wchar_t*);
    const auto release = [](HMODULE library) { FreeLibrary(library); };
    const std::unique_ptr<std::remove_pointer_t<HMODULE>, decltype(release)> library(
        LoadLibraryExW(L"shfolder.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32), release);
    const FARPROC address = library ? GetProcAddress(library.get(), "SHGetFolderPathW") : nullptr;
    if (!address) return {};
    GetFolderPath getFolderPath = nullptr;
    std::memcpy(&getFolderPath, &address, sizeof getFolderPath);
    wchar_t buffer[MAX_PATH] = L"";
    constexpr DWORD currentPath = 0;
    if (getFolderPath(nullptr, folder, nullptr, currentPath, buffer) != S_OK) return {};
    const std::string path = Platform::FromPath(buffer);
    return path.empty() || EndsWith(path, "\\", true) ? path : path + "\\";
}

} // namespace KOVA::Tessara::Fundament
