#include "hostkit/LibraryFile.h"

#include <dlfcn.h>

#include <system_error>

namespace hostkit::LibraryFile {

void* Open(const std::string& path, std::string& reason) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* text = dlerror();
        reason = text ? text : "no reason given";
    }
    return handle;
}

void* Find(void* handle, const char* name) { return dlsym(handle, name); }

void Close(void* handle) { dlclose(handle); }

std::filesystem::path ProgramFolder() {
    std::error_code failure;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
    return failure ? std::filesystem::path() : program.parent_path();
}

std::filesystem::path LibraryFolder() {
    static const char somewhere = 0;
    Dl_info module{};
    if (dladdr(&somewhere, &module) == 0 || !module.dli_fname) return {};
    // The program goes by the name it was called with, which may be any; a library by its path.
    const std::filesystem::path file = module.dli_fname;
    if (!file.is_absolute()) return {};
    std::error_code failure;
    const std::filesystem::path real = std::filesystem::canonical(file, failure);
    return failure || real == std::filesystem::read_symlink("/proc/self/exe", failure)
               ? std::filesystem::path()
               : real.parent_path();
}

} // namespace hostkit::LibraryFile
