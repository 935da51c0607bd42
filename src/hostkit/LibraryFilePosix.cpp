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

} // namespace hostkit::LibraryFile
