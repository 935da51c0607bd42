#include "hostkit/PluginLibrary.h"

#include "fundament/Platform.h"
#include "fundament/Text.h"
#include "host/NameValueMap.h"
#include "hostkit/HostKitStatus.h"
#include "hostkit/LibraryFile.h"

#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace hostkit {

using KOVA::Tessara::Fundament::FormatString;
using KOVA::Tessara::Fundament::Status;
using KOVA::Tessara::Global::NameValueMap;
namespace Platform = KOVA::Tessara::Fundament::Platform;
namespace EntryPoints = KOVA::Tessara::EntryPoints;

namespace {

constexpr const char* loaderSource = "Host.PluginLibrary";

bool IsFile(const std::filesystem::path& path) {
    std::error_code failure;
    return std::filesystem::is_regular_file(path, failure);
}

} // namespace

std::string FindPlugin(const std::string& path, Status& status) {
    if (!path.empty()) return path;
    if (std::string named = Platform::Environment(pluginVariable); !named.empty()) return named;
    std::string places;
    std::vector<std::filesystem::path> folders = {LibraryFile::LibraryFolder(), LibraryFile::ProgramFolder()};
    std::erase(folders, std::filesystem::path());
    // When the platform tells neither folder, only the install folder of the build is left.
    if (folders.empty()) folders.emplace_back(PANSHARP_BINARIES);
    for (const std::filesystem::path& folder : folders) {
        for (const char* place : {"../lib", ".", "pansharp", "..", "../pansharp", "../lib/pansharp",
                                  "../" PANSHARP_LIBDIR "/pansharp"}) {
            const std::filesystem::path candidate = (folder / place / pluginFileName).lexically_normal();
            std::string text = Platform::FromPath(candidate);
            if (IsFile(candidate)) return text;
            if (places.find(text) == std::string::npos) places += (places.empty() ? "" : ", ") + text;
        }
    }
    status.Add(HostKitStatus::PluginNotFound,
               FormatString("the plug-in is not installed: none of %s exists; install it there or set %s to "
                            "the path of the file",
                            places.c_str(), pluginVariable),
               loaderSource);
    return {};
}

PluginLibrary::PluginLibrary(std::string file, void* library) : path(std::move(file)), handle(library) {}

PluginLibrary::~PluginLibrary() {
    if (cleanup) cleanup(nullptr);
    LibraryFile::Close(handle);
}

std::unique_ptr<PluginLibrary> PluginLibrary::FindAndLoad(const std::string& path, Status& status) {
    const std::string found = FindPlugin(path, status);
    return found.empty() ? nullptr : Load(found, status);
}

std::unique_ptr<PluginLibrary> PluginLibrary::Load(const std::string& path, Status& status) {
    // The platform would look for a bare name along its own search path.
    const std::filesystem::path file = std::filesystem::absolute(Platform::ToPath(path));
    if (!IsFile(file)) {
        status.Add(HostKitStatus::PluginNotFound,
                   FormatString("there is no plug-in file '%s'; give the path of %s, or set %s to it",
                                path.c_str(), pluginFileName, pluginVariable),
                   loaderSource);
        return nullptr;
    }
    std::string reason;
    void* library = LibraryFile::Open(file, reason);
    if (!library) {
        status.Add(
            HostKitStatus::PluginNotLoaded,
            FormatString("'%s' cannot be loaded as a plug-in; give a library built for this machine: %s",
                         path.c_str(), reason.c_str()),
            loaderSource);
        return nullptr;
    }
    std::unique_ptr<PluginLibrary> plugin(new PluginLibrary(path, library));
    return plugin->Resolve(status) ? std::move(plugin) : nullptr;
}

template <class Function>
bool PluginLibrary::Resolve(const char* name, Function& function, Status& status) {
    if (void* address = LibraryFile::Find(handle, name)) {
        std::memcpy(&function, &address, sizeof function);
        return true;
    }
    status.Add(
        HostKitStatus::PluginLacksEntry,
        FormatString("'%s' is not a pan-sharpening plug-in: it lacks the entry %s; give the path of %s",
                     path.c_str(), name, pluginFileName),
        loaderSource);
    return false;
}

bool PluginLibrary::Resolve(Status& status) {
    PansharpDescribe describe = nullptr;
    if (!Resolve(EntryPoints::describe, describe, status)) return false;
    description = describe();
    // Of a description of another contract, only the first two members may be read.
    if (!description || description->contractVersion != PANSHARP_CONTRACT_VERSION ||
        description->structSize < sizeof(PansharpDescription)) {
        status.Add(HostKitStatus::PluginOfAnotherContract,
                   FormatString("the plug-in '%s' was built against version %u of the host contract, this "
                                "program against version %u; install the plug-in that came with this program",
                                path.c_str(), description ? description->contractVersion : 0u,
                                PANSHARP_CONTRACT_VERSION),
                   loaderSource);
        return false;
    }
    TessaraInitialize initialize = nullptr;
    TessaraCleanup cleanupEntry = nullptr;
    if (!Resolve(EntryPoints::initialize, initialize, status) ||
        !Resolve(EntryPoints::createObject, createObject, status) ||
        !Resolve(EntryPoints::destroyObject, destroyObject, status) ||
        !Resolve(EntryPoints::getStatus, getStatus, status) ||
        !Resolve(EntryPoints::cleanup, cleanupEntry, status))
        return false;
    if (initialize(nullptr, nullptr) != 0) {
        status.Add(HostKitStatus::PluginNotLoaded,
                   FormatString("the plug-in '%s' refuses to be initialized; install it again", path.c_str()),
                   loaderSource);
        return false;
    }
    cleanup = cleanupEntry;
    return true;
}

Process::Process(const PluginLibrary& plugin, const NameValueMap& properties, Status& status)
    : library(&plugin), object(plugin.createObject(nullptr, nullptr, &properties)) {
    if (!object)
        status.Add(HostKitStatus::ProcessNotCreated,
                   FormatString("the plug-in '%s' makes no process object; it needs at least one property",
                                plugin.path.c_str()),
                   loaderSource);
}

Process::Process(Process&& other) noexcept
    : library(other.library), object(std::exchange(other.object, nullptr)) {}

Process::~Process() {
    if (object) library->destroyObject(nullptr, &object);
}

} // namespace hostkit
