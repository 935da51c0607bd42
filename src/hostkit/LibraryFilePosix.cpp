#include "hostkit/LibraryFile.h"

#include <dlfcn.h>
#if defined(__linux__)
#include <sys/auxv.h>
#endif

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

namespace {

// The file of the running program. Where no /proc is mounted, the one it was started by, if that names it.
std::filesystem::path ProgramFile() {
    std::error_code failure;
    std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
#if defined(__linux__)
    if (failure) {
        // The kernel tells addresses as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
        const auto* started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
        program = started ? std::filesystem::canonical(started, failure) : std::filesystem::path();
    }
#endif
    return failure ? std::filesystem::path() : program;
}

} // namespace

std::filesystem::path ProgramFolder() { return ProgramFile().parent_path(); }

std::filesystem::path LibraryFolder() {
    static const char somewhere = 0;
    Dl_info module{};
    if (dladdr(&somewhere, &module) == 0 || !module.dli_fname) return {};
    // The program goes by the name it was called with, which may be any; a library by its path.
    const std::filesystem::path file = module.dli_fname;
    if (!file.is_absolute()) return {};
    std::error_code failure;
    const std::filesystem::path real = std::filesystem::canonical(file, failure);
    return failure || real == ProgramFile() ? std::filesystem::path() : real.parent_path();
}

} // namespace hostkit::LibraryFile
