#pragma once

#include "fundament/Status.h"
#include "host/EntryPoints.h"

#include <memory>
#include <string>

namespace hostkit {

/// The file name of the plug-in.
inline constexpr const char* pluginFileName = "Pansharp.process";
/// The environment variable that names another plug-in file.
inline constexpr const char* pluginVariable = "PANSHARP_PLUGIN";

/// Finds the plug-in. `path` is taken unless it is empty, without a check that the file exists. Next comes
/// the file that the environment variable names. Then the folder of the shared library that contains this
/// code is searched, and the folder of the running program: ../lib, the folder itself, pansharp, ..,
/// ../pansharp and ../lib/pansharp. Returns an empty path, with an item that lists the places, when none has
/// the file.
[[nodiscard]] std::string FindPlugin(const std::string& path, KOVA::Tessara::Fundament::Status& status);

/// The plug-in, loaded from its file. It must outlive the objects that it makes. Any thread may use it.
class PluginLibrary {
public:
    /// Loads the file and initializes the library. Null, with an item that says what to do, when the file is
    /// missing or is not a library, when it lacks an entry point, or when it was built against another
    /// contract.
    [[nodiscard]] static std::unique_ptr<PluginLibrary> Load(const std::string& path,
                                                             KOVA::Tessara::Fundament::Status& status);
    /// Finds the plug-in as FindPlugin does and loads it. Null, with an item, on failure.
    [[nodiscard]] static std::unique_ptr<PluginLibrary> FindAndLoad(const std::string& path,
                                                                    KOVA::Tessara::Fundament::Status& status);
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;
    ~PluginLibrary();

    /// The path that it was loaded from.
    [[nodiscard]] const std::string& GetPath() const { return path; }
    /// The plug-in's description of itself. It lives as long as this object.
    [[nodiscard]] const PansharpDescription& GetDescription() const { return *description; }

private:
    friend class Process;

    PluginLibrary(std::string file, void* library);
    bool Resolve(KOVA::Tessara::Fundament::Status& status);
    template <class Function>
    bool Resolve(const char* name, Function& function, KOVA::Tessara::Fundament::Status& status);

    std::string path;
    void* handle;
    const PansharpDescription* description = nullptr;
    TessaraCreateObject createObject = nullptr;
    TessaraDestroyObject destroyObject = nullptr;
    TessaraGetStatus getStatus = nullptr;
    TessaraCleanup cleanup = nullptr; ///< null until the library is initialized
};

/// One process object of a plug-in, given back by the destructor.
class Process {
public:
    /// Asks for an object with these properties. When none is made, this is empty and `status` gets an item.
    Process(const PluginLibrary& plugin, const KOVA::Tessara::Global::NameValueMap& properties,
            KOVA::Tessara::Fundament::Status& status);
    /// Leaves `other` empty.
    Process(Process&& other) noexcept;
    Process& operator=(Process&&) = delete;
    ~Process();

    /// True when there is an object.
    explicit operator bool() const { return object != nullptr; }
    /// The object, null when empty. This keeps the ownership.
    KOVA::Tessara::Pixmere::IRasterProcess* operator->() const { return object; }
    /// The object. Must not be called when empty.
    KOVA::Tessara::Pixmere::IRasterProcess& operator*() const { return *object; }

private:
    const PluginLibrary* library;
    KOVA::Tessara::Pixmere::IRasterProcess* object;
};

} // namespace hostkit
