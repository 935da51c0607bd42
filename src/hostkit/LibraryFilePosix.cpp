#include "hostkit/LibraryFile.h"

#include <dlfcn.h>
#if defined(__linux__)
#include <sys/auxv.h>
#endif

#include <cstdio>
#include <fstream>
#include <system_error>

namespace hostkit::LibraryFile {

void* Open(const std::filesystem::path& path, std::string& reason) {
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

// The file of the running program. Without /proc, the path that the program was started by, if it is one.
std::filesystem::path ProgramFile() {
    std::error_code failure;
    std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
#if defined(__linux__)
    if (failure) {
        // The kernel gives addresses as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
        const auto* started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
        program = started ? std::filesystem::canonical(started, failure) : std::filesystem::path();
    }
#endif
    return failure ? std::filesystem::path() : program;
}

/// Where the running program is mapped; null when the system does not say, or when the loader was started and
/// the program is its argument. Asking spares most calls the list of everything that is mapped, which takes
/// the kernel longer to write than the plug-in to load.
const void* ProgramBase() {
    Dl_info program{};
#if defined(__linux__)
    // The kernel gives addresses as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto* headers = reinterpret_cast<const void*>(getauxval(AT_PHDR));
    if (getauxval(AT_BASE) != 0 && headers) dladdr(headers, &program);
#endif
    return program.dli_fbase;
}

/// The file that is mapped at an address, as the kernel knows it; empty when it does not say.
std::filesystem::path MappedFile(const void* address) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        void *start = nullptr, *end = nullptr;
        const std::size_t path = line.find('/');
        if (path != std::string::npos && std::sscanf(line.c_str(), "%p-%p", &start, &end) == 2 &&
            address >= start && address < end)
            return line.substr(path);
    }
    return {};
}

} // namespace

std::filesystem::path ProgramFolder() { return ProgramFile().parent_path(); }

std::filesystem::path LibraryFolder() {
    static const char somewhere = 0;
    Dl_info module{};
    if (dladdr(&somewhere, &module) == 0 || !module.dli_fname) return {};
    if (module.dli_fbase == ProgramBase()) return {};
    // The loader names the program as it was called, which may be any name. It names a library by its path,
    // which may be relative to a folder that the process has left.
    std::filesystem::path file = module.dli_fname;
    if (!file.is_absolute()) file = MappedFile(&somewhere);
    if (file.empty()) return {};
    std::error_code failure;
    const std::filesystem::path real = std::filesystem::canonical(file, failure);
    return failure || real == ProgramFile() ? std::filesystem::path() : real.parent_path();
}

} // namespace hostkit::LibraryFile
