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

/// Where the plug-in is: `path` unless that is empty, else what the environment variable names, else the file
/// found from the folder of the shared library that this code is a part of, then from that of the running
/// program: in ../lib, in the folder itself, in pansharp, in .., in ../pansharp or in ../lib/pansharp. Empty,
/// with an item that lists the places, when there is none. A path that is given is not looked at here.
[[nodiscard]] std::string FindPlugin(const std::string& path, KOVA::Tessara::Fundament::Status& status);

/// The plug-in, loaded from its file. It outlives the objects it makes; may be used from any thread.
class PluginLibrary {
public:
    /// Loads the file and initializes the library. Null, with an item that says what to do, when the file is
    /// missing or not a library, or when the library lacks an entry point or was built against another
    /// contract.
    [[nodiscard]] static std::unique_ptr<PluginLibrary> Load(const std::string& path,
                                                             KOVA::Tessara::Fundament::Status& status);
    /// Finds the plug-in as FindPlugin does and loads it. Null with an item.
    [[nodiscard]] static std::unique_ptr<PluginLibrary> FindAndLoad(const std::string& path,
                                                                    KOVA::Tessara::Fundament::Status& status);
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;
    ~PluginLibrary();

    /// The path it was loaded from.
    [[nodiscard]] const std::string& GetPath() const { return path; }
    /// What the plug-in says of itself; lives as long as this object.
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

/// One process object of a plug-in, given back when this goes away.
class Process {
public:
    /// Asks for an object with these properties; when none is made, this is empty and `status` has an item.
    Process(const PluginLibrary& plugin, const KOVA::Tessara::Global::NameValueMap& properties,
            KOVA::Tessara::Fundament::Status& status);
    /// Leaves `other` empty.
    Process(Process&& other) noexcept;
    Process& operator=(Process&&) = delete;
    ~Process();

    /// True when there is an object.
    explicit operator bool() const { return object != nullptr; }
    /// The object, null when empty; good as long as this.
    KOVA::Tessara::Pixmere::IRasterProcess* operator->() const { return object; }
    /// The object; not to be asked when empty.
    KOVA::Tessara::Pixmere::IRasterProcess& operator*() const { return *object; }

private:
    const PluginLibrary* library;
    KOVA::Tessara::Pixmere::IRasterProcess* object;
};

} // namespace hostkit
